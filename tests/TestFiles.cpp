#include "TestFiles.h"

#include "ConversionError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <gtest/gtest.h>
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

QStringList TestFolder::names() const {
    return namesIn(dir_.path());
}

QStringList namesIn(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

QByteArray readBytes(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

QString readText(const QString& path) {
    return QString::fromUtf8(readBytes(path));
}

QString toolOutput(const QString& program, const QStringList& arguments, const QString& folder) {
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        ADD_FAILURE() << program.toStdString() << " " << arguments.join(' ').toStdString()
                      << " failed: " << process.readAllStandardError().toStdString();
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput());
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
