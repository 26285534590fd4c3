// Temporary folders and files that tests make for themselves, and what tools say about them.
#pragma once

#include "FileOperation.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <functional>

namespace tramix::test {

class TestFolder {
public:
    TestFolder();
    QString path(const QString& name) const;
    // Writes `bytes` to `name` (creating parent folders) and returns its absolute path.
    QString file(const QString& name, const QByteArray& bytes = "x") const;
    QString folder(const QString& name) const;
    // Every entry at the top, hidden ones too, sorted: what a test left behind.
    QStringList names() const;

private:
    QTemporaryDir dir_;
};

// Every entry directly in `folder`, hidden ones too, sorted.
QStringList namesIn(const QString& folder);

// The file's bytes, or "(missing)"; its text as UTF-8.
QByteArray readBytes(const QString& path);
QString readText(const QString& path);

// Runs a tool (in `folder` when given) and returns its standard output; fails the test when it
// does not succeed.
QString toolOutput(const QString& program, const QStringList& arguments,
                   const QString& folder = {});

// The ids of `operations`, in order.
QStringList ids(const QList<FileOperation>& operations);

// The sentence of the ConversionError that `work` throws, or "(no error)".
QString errorOf(const std::function<void()>& work);

} // namespace tramix::test
