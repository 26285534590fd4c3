#include "MenuEntries.h"

#include "Catalogue/Catalogue.h"

#include <QMimeDatabase>
#include <algorithm>

namespace tramix::MenuEntries {

namespace {

bool offers(FileKind kind, WheelMode mode) {
    const auto& rows = Catalogue::rows();
    return std::any_of(rows.begin(), rows.end(), [&](const CatalogueRow& row) {
        return row.kind == kind && row.mode == mode;
    });
}

QList<FileKind> kindsWith(WheelMode mode) {
    QList<FileKind> kinds;
    for (FileKind kind : FileKind::allCases()) {
        if (offers(kind, mode))
            kinds.append(kind);
    }
    return kinds;
}

MenuEntry wheel(WheelMode mode, const QString& title) {
    return {QStringLiteral("wheel-") + mode.rawValue(),
            QStringLiteral("Tramix: ") + title,
            title,
            {QStringLiteral("--wheel"), mode.rawValue()},
            mode == WheelMode::actions ? QList<FileKind>{} : kindsWith(mode)};
}

const CatalogueRow* rowFor(const QString& id, FileKind kind) {
    const auto& rows = Catalogue::rows();
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const CatalogueRow& row) {
        return row.kind == kind && id == QLatin1StringView(row.id) && !row.work.handler;
    });
    return found == rows.end() ? nullptr : &*found;
}

} // namespace

QStringList directOperations(FileKind kind) {
    switch (kind) {
    case FileKind::image:
        return {"convert.image.png", "convert.image.jpg", "tool.image.compress"};
    case FileKind::pdf:
        return {"tool.pdf.compress", "convert.pdf.txt", "convert.pdf.png"};
    case FileKind::audio:
        return {"convert.audio.mp3", "convert.audio.m4a", "convert.audio.wav"};
    case FileKind::video:
        return {"convert.video.mp4", "tool.video.compress", "convert.video.m4a"};
    case FileKind::document:
        return {"convert.document.pdf", "convert.document.docx", "convert.document.txt"};
    case FileKind::spreadsheet:
        return {"convert.sheet.xlsx", "convert.sheet.csv", "convert.sheet.json"};
    case FileKind::archive:
        return {"convert.archive.extract", "convert.archive.zip", "convert.archive.tgz"};
    case FileKind::folder:
        return {"archive.zip", "archive.tgz"};
    case FileKind::other:
        return {};
    }
    Q_UNREACHABLE();
}

std::vector<MenuEntry> all() {
    std::vector<MenuEntry> entries = {
        wheel(WheelMode::convert, QStringLiteral("Formate …")),
        wheel(WheelMode::tools, QStringLiteral("Werkzeuge …")),
        wheel(WheelMode::actions, QStringLiteral("Aktionen …")),
    };
    for (FileKind kind : FileKind::allCases()) {
        for (const QString& id : directOperations(kind)) {
            // An id the catalogue no longer has for this kind is left out rather than offered.
            const CatalogueRow* row = rowFor(id, kind);
            if (!row)
                continue;
            const QString title = row->detail.in(Language::german);
            entries.push_back({id + u'-' + kind.rawValue(),
                               QStringLiteral("Tramix: ") + title,
                               title,
                               {QStringLiteral("--run"), id},
                               {kind}});
        }
    }
    return entries;
}

QStringList extensions(FileKind kind) {
    QStringList found;
    if (kind == FileKind::folder)
        return found;
    static const QMimeDatabase database;
    for (const QMimeType& type : database.allMimeTypes()) {
        for (const QString& suffix : type.suffixes()) {
            const QString lower = suffix.toLower();
            if (FileKind::byExtension(lower) == kind && !found.contains(lower))
                found.append(lower);
        }
    }
    found.sort();
    return found;
}

QStringList mimeTypes(FileKind kind) {
    if (kind == FileKind::folder)
        return {QStringLiteral("inode/directory")};
    QStringList types;
    static const QMimeDatabase database;
    for (const QMimeType& type : database.allMimeTypes()) {
        const QStringList suffixes = type.suffixes();
        const bool fits = std::any_of(suffixes.begin(), suffixes.end(), [&](const QString& s) {
            return FileKind::byExtension(s.toLower()) == kind;
        });
        if (fits)
            types.append(type.name());
    }
    types.sort();
    return types;
}

QString kindName(FileKind kind) {
    switch (kind) {
    case FileKind::image:
        return QStringLiteral("Bilder");
    case FileKind::pdf:
        return QStringLiteral("PDF");
    case FileKind::audio:
        return QStringLiteral("Audio");
    case FileKind::video:
        return QStringLiteral("Video");
    case FileKind::document:
        return QStringLiteral("Dokumente");
    case FileKind::spreadsheet:
        return QStringLiteral("Tabellen");
    case FileKind::archive:
        return QStringLiteral("Archive");
    case FileKind::folder:
        return QStringLiteral("Ordner");
    case FileKind::other:
        return QStringLiteral("Andere");
    }
    Q_UNREACHABLE();
}

} // namespace tramix::MenuEntries
