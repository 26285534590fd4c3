// Temporary folders and files that tests make for themselves.
#pragma once

#include "FileOperation.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <functional>
#include <ostream>

// Readable QStrings in test failure messages.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace tramix::test {

class TestFolder {
public:
    TestFolder();
    QString path(const QString& name) const;
    // Writes `bytes` to `name` (creating parent folders) and returns its absolute path.
    QString file(const QString& name, const QByteArray& bytes = "x") const;
    QString folder(const QString& name) const;

private:
    QTemporaryDir dir_;
};

// The ids of `operations`, in order.
QStringList ids(const QList<FileOperation>& operations);

// The sentence of the ConversionError that `work` throws, or "(no error)".
QString errorOf(const std::function<void()>& work);

} // namespace tramix::test
