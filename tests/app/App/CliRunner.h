// Runs programs as a user would from a terminal: the built tramix binary, and the shells and
// pagers that read what the build wrote.
#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace tramix::test {

struct CliOutput {
    QString out;
    QString err;
    // -1 when the program crashed or never ended.
    int status = -1;
    QStringList lines() const;
};

CliOutput runProgram(const QString& program, const QStringList& args,
                     const QString& workingFolder = QString(),
                     const QProcessEnvironment& environment = QProcessEnvironment());
CliOutput runTramix(const QStringList& args, const QString& workingFolder = QString());

} // namespace tramix::test
