#include "IntegrationFiles.h"

#include "ConversionError.h"
#include "MenuEntries.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringList>

namespace tramix::IntegrationFiles {

namespace {

// Where python3-nautilus puts its loader, for the two extension interfaces of Nautilus.
const char* const nautilusPythonLoaders[] = {
    "/usr/lib/x86_64-linux-gnu/nautilus/extensions-4/libnautilus-python.so",
    "/usr/lib/aarch64-linux-gnu/nautilus/extensions-4/libnautilus-python.so",
    "/usr/lib/nautilus/extensions-4/libnautilus-python.so",
    "/usr/lib/x86_64-linux-gnu/nautilus/extensions-3.0/libnautilus-python.so",
    "/usr/lib/aarch64-linux-gnu/nautilus/extensions-3.0/libnautilus-python.so",
    "/usr/lib/nautilus/extensions-3.0/libnautilus-python.so",
};

// Left in each folder that Tramix made, so that removal takes away only those: a folder the user
// had before stays even when it ends up empty.
const QString madeByTramix = QStringLiteral(".made-by-tramix");

// Makes `folder` and its missing parents, marking each one made.
bool makeFolder(const QString& folder) {
    QStringList missing;
    for (QString path = QDir::cleanPath(folder); !QFileInfo::exists(path);
         path = QFileInfo(path).path())
        missing.prepend(path);
    for (const QString& path : missing) {
        QFile mark(path + u'/' + madeByTramix);
        if (!QDir().mkdir(path) || !mark.open(QIODevice::WriteOnly))
            return false;
    }
    return QFileInfo(folder).isDir();
}

QString homeFolder(const char* variable, const QString& fallback) {
    const QString value = qEnvironmentVariable(variable);
    // XDG folders given as relative paths do not count, as the desktop rules say.
    return QDir::isAbsolutePath(value) ? QDir::cleanPath(value) : QDir::homePath() + fallback;
}

} // namespace

Setup userSetup() {
    Setup setup;
    setup.dataHome = homeFolder("XDG_DATA_HOME", QStringLiteral("/.local/share"));
    setup.configHome = homeFolder("XDG_CONFIG_HOME", QStringLiteral("/.config"));
    const QString self = QCoreApplication::applicationFilePath();
    // The packaged binary is found on PATH, so the menus survive an update that moves nothing.
    setup.program = self == u"/usr/bin/tramix" ? QStringLiteral("tramix") : self;
    for (const char* loader : nautilusPythonLoaders)
        setup.nautilusPython =
            setup.nautilusPython || QFileInfo::exists(QString::fromLatin1(loader));
    return setup;
}

bool isTramixFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.readAll().contains(MenuEntries::marker);
}

void checkOwnership(const QList<GeneratedFile>& files) {
    for (const GeneratedFile& file : files) {
        if (QFileInfo::exists(file.path) && !isTramixFile(file.path))
            throw ConversionError::failed(
                QStringLiteral("Die Datei %1 stammt nicht von Tramix und bleibt unverändert; "
                               "nichts wurde eingerichtet.")
                    .arg(QDir::toNativeSeparators(file.path)));
    }
}

void write(const QList<GeneratedFile>& files) {
    for (const GeneratedFile& file : files) {
        const QFileInfo info(file.path);
        QSaveFile out(file.path);
        if (!makeFolder(info.path()) || !out.open(QIODevice::WriteOnly) ||
            out.write(file.bytes) != file.bytes.size() ||
            !out.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                QFileDevice::ReadGroup | QFileDevice::ReadOther |
                                (file.executable ? QFileDevice::ExeOwner | QFileDevice::ExeGroup |
                                                       QFileDevice::ExeOther
                                                 : QFileDevice::Permissions())) ||
            !out.commit())
            throw ConversionError::failed(QStringLiteral("Die Datei %1 ließ sich nicht schreiben.")
                                              .arg(QDir::toNativeSeparators(file.path)));
    }
}

void removeMarked(const QString& folder, const QString& prefix) {
    QStringList folders;
    QDirIterator it(folder, {prefix + u'*'}, QDir::Files | QDir::Hidden,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (isTramixFile(path) && QFile::remove(path))
            folders.append(QFileInfo(path).path());
    }
    // Deepest first, so that a folder of kinds goes before the one holding it.
    std::sort(folders.begin(), folders.end(),
              [](const QString& a, const QString& b) { return a.size() > b.size(); });
    for (const QString& path : folders)
        pruneEmpty(path);
}

void pruneEmpty(const QString& folder) {
    // Only a folder holding nothing but the mark is Tramix's to take, and its parents likewise.
    for (QString path = QDir::cleanPath(folder); QFileInfo(path).isDir() && path != u"/";
         path = QFileInfo(path).path()) {
        const QDir dir(path);
        const QStringList left =
            dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        if (left != QStringList{madeByTramix} || !QFile::remove(dir.filePath(madeByTramix)) ||
            !QDir().rmdir(path))
            return;
    }
}

QString shellQuoted(const QString& argument) {
    static const QString plain = QStringLiteral("-_./=+,:@%");
    const bool safe =
        !argument.isEmpty() && std::all_of(argument.begin(), argument.end(), [](QChar c) {
            return c.isLetterOrNumber() || plain.contains(c);
        });
    if (safe)
        return argument;
    QString quoted = argument;
    quoted.replace(u'\'', QStringLiteral("'\\''"));
    return u'\'' + quoted + u'\'';
}

QString execQuoted(const QString& argument) {
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    QString value = argument;
    if (std::any_of(argument.begin(), argument.end(),
                    [](QChar c) { return reserved.contains(c); })) {
        QString inner;
        for (QChar c : argument) {
            if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
                inner += u'\\';
            inner += c;
        }
        value = u'"' + inner + u'"';
    }
    value.replace(u'\\', QStringLiteral("\\\\"));
    // A literal percent sign would start a field code.
    value.replace(u'%', QStringLiteral("%%"));
    return value;
}

} // namespace tramix::IntegrationFiles
