#include "OutputContext.h"

#include "ConversionError.h"
#include "FileKind.h"
#include "NameReservations.h"

#include <QDir>
#include <QFileInfo>
#include <filesystem>
#include <system_error>

namespace tramix {

namespace {

QString lastComponent(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).fileName();
}

QString withSuffix(const QString& name, const QString& suffix) {
    return suffix.isEmpty() ? name : name + u' ' + suffix;
}

} // namespace

QString outputStem(const QString& input) {
    const QString name = lastComponent(input);
    if (name.endsWith(u".tar.gz", Qt::CaseInsensitive))
        return name.chopped(7);
    const QString ext = pathExtension(name);
    return ext.isEmpty() ? name : name.chopped(ext.size() + 1);
}

QString OutputContext::directory(const QString& input) const {
    if (folder)
        return QDir::cleanPath(*folder);
    return QFileInfo(QDir::cleanPath(input)).absolutePath();
}

QString OutputContext::destination(const QString& input, const QString& ext,
                                   const QString& suffix) const {
    const QString name = withSuffix(outputStem(input), suffix) + u'.' + ext;
    return NameReservations::unique(QDir(directory(input)).filePath(name));
}

QString OutputContext::destinationNamed(const QString& name, const QString& near) const {
    return NameReservations::unique(QDir(directory(near)).filePath(name));
}

QString OutputContext::makeFolder(const QString& input, const QString& suffix) const {
    const QString name = lastComponent(input);
    const QString ext = pathExtension(name);
    const QString base = ext.isEmpty() ? name : name.chopped(ext.size() + 1);
    const QString path =
        NameReservations::unique(QDir(directory(input)).filePath(withSuffix(base, suffix)));
    std::error_code error;
    std::filesystem::create_directories(path.toStdString(), error);
    if (error) {
        throw ConversionError::failed(
            QStringLiteral("Der Ordner „%1“ konnte nicht angelegt werden: %2")
                .arg(QFileInfo(path).fileName(), QString::fromLocal8Bit(error.message())));
    }
    return path;
}

} // namespace tramix
