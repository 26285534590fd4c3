#include "FileKind.h"

#include <QFileInfo>
#include <QHash>
#include <QMimeDatabase>

namespace tramix {

namespace {

QHash<QString, FileKind::Value> buildTable() {
    const std::pair<FileKind::Value, const char*> rows[] = {
        {FileKind::image, "jpg jpeg png heic heif tif tiff bmp gif webp avif jp2 tga psd ico icns"},
        {FileKind::pdf, "pdf"},
        {FileKind::audio, "mp3 m4a wav aif aiff caf flac aac m4b opus ogg oga wma ac3"},
        {FileKind::video, "mp4 mov m4v 3gp mkv webm avi mpg mpeg m2ts flv wmv ogv"},
        {FileKind::document, "docx doc rtf rtfd html htm txt text md markdown odt webarchive"},
        {FileKind::spreadsheet, "csv tsv xlsx"},
        {FileKind::archive, "zip tar gz tgz"},
    };
    QHash<QString, FileKind::Value> table;
    for (const auto& [kind, list] : rows) {
        for (const QString& ext : QString::fromLatin1(list).split(u' '))
            table.insert(ext, kind);
    }
    return table;
}

const QHash<QString, FileKind::Value>& table() {
    static const QHash<QString, FileKind::Value> instance = buildTable();
    return instance;
}

bool mimeIsA(const QMimeType& type, QStringView prefixOrName, bool prefix) {
    auto matches = [&](const QString& name) {
        return prefix ? name.startsWith(prefixOrName) : name == prefixOrName;
    };
    if (matches(type.name()))
        return true;
    for (const QString& ancestor : type.allAncestors()) {
        if (matches(ancestor))
            return true;
    }
    return false;
}

// Stands in for the platform's type system: the shared MIME database, by name only.
FileKind kindFromMimeDatabase(const QString& fileName) {
    static const QMimeDatabase database;
    const QMimeType type = database.mimeTypeForFile(fileName, QMimeDatabase::MatchExtension);
    if (!type.isValid() || type.isDefault())
        return FileKind::other;
    if (mimeIsA(type, u"application/pdf", false))
        return FileKind::pdf;
    if (mimeIsA(type, u"image/", true))
        return FileKind::image;
    // Video formats missing from the table are deliberately not offered video operations; the
    // table names every container ffmpeg reads that is not as often something else (ts).
    if (mimeIsA(type, u"audio/", true))
        return FileKind::audio;
    return FileKind::other;
}

} // namespace

QString FileKind::rawValue() const {
    static const char* const names[] = {"image",       "pdf",     "audio",  "video", "document",
                                        "spreadsheet", "archive", "folder", "other"};
    return QString::fromLatin1(names[value_]);
}

std::optional<FileKind> FileKind::fromRawValue(QStringView raw) {
    for (FileKind kind : allCases()) {
        if (kind.rawValue() == raw)
            return kind;
    }
    return std::nullopt;
}

const std::array<FileKind, 9>& FileKind::allCases() {
    static const std::array<FileKind, 9> cases = {image,       pdf,     audio,  video, document,
                                                  spreadsheet, archive, folder, other};
    return cases;
}

std::optional<FileKind> FileKind::byExtension(const QString& lowerExt) {
    const auto it = table().constFind(lowerExt);
    if (it == table().constEnd())
        return std::nullopt;
    return FileKind(it.value());
}

FileKind FileKind::of(const QString& path) {
    const QString ext = pathExtension(path).toLower();
    const QFileInfo info(path);
    if (info.isDir())
        return ext == u"rtfd" ? document : folder;
    if (auto kind = byExtension(ext))
        return *kind;
    if (ext.isEmpty())
        return other;
    // No file can be named with a NUL, and the type database's lookup crashes on some such names.
    if (path.contains(QChar(0)))
        return other;
    return kindFromMimeDatabase(info.fileName());
}

QString FileKind::canonicalExtension(const QString& ext) {
    static const QHash<QString, QString> aliases = {
        {"jpeg", "jpg"}, {"tif", "tiff"},    {"heif", "heic"}, {"aif", "aiff"},
        {"htm", "html"}, {"markdown", "md"}, {"text", "txt"},  {"tgz", "tar.gz"},
    };
    const QString lower = ext.toLower();
    return aliases.value(lower, lower);
}

QString pathExtension(const QString& path) {
    QStringView name(path);
    while (name.endsWith(u'/') && name.size() > 1)
        name.chop(1);
    name = name.mid(name.lastIndexOf(u'/') + 1);
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0)
        return {};
    return name.mid(dot + 1).toString();
}

} // namespace tramix
