#include "TestFiles.h"

#include "ConversionError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <stdexcept>

namespace tramix::test {

TestFolder::TestFolder() {
    if (!dir_.isValid())
        throw std::runtime_error("no temporary folder");
}

QString TestFolder::path(const QString& name) const {
    return dir_.filePath(name);
}

QString TestFolder::file(const QString& name, const QByteArray& bytes) const {
    const QString full = path(name);
    QDir().mkpath(QFileInfo(full).absolutePath());
    QFile file(full);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write test file");
    return full;
}

QString TestFolder::folder(const QString& name) const {
    const QString full = path(name);
    QDir().mkpath(full);
    return full;
}

QStringList ids(const QList<FileOperation>& operations) {
    QStringList result;
    for (const FileOperation& operation : operations)
        result.append(operation.id);
    return result;
}

QString errorOf(const std::function<void()>& work) {
    try {
        work();
    } catch (const ConversionError& error) {
        return error.errorDescription();
    }
    return QStringLiteral("(no error)");
}

} // namespace tramix::test
