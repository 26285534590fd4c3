// Runs the built tramix binary, as a user would from a terminal.
#pragma once

#include <QString>
#include <QStringList>

namespace tramix::test {

struct CliOutput {
    QString out;
    int status = -1;
    QStringList lines() const;
};

CliOutput runTramix(const QStringList& args, const QString& workingFolder = QString());

} // namespace tramix::test
