#include "CliRunner.h"

#include <QProcess>

namespace tramix::test {

QStringList CliOutput::lines() const {
    QStringList result = out.split(u'\n');
    if (!result.isEmpty() && result.last().isEmpty())
        result.removeLast();
    return result;
}

CliOutput runProgram(const QString& program, const QStringList& args, const QString& workingFolder,
                     const QProcessEnvironment& environment) {
    QProcess process;
    if (!workingFolder.isEmpty())
        process.setWorkingDirectory(workingFolder);
    if (!environment.isEmpty())
        process.setProcessEnvironment(environment);
    process.start(program, args);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {{}, process.errorString()};
    return {QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError()), process.exitCode()};
}

CliOutput runTramix(const QStringList& args, const QString& workingFolder) {
    return runProgram(QStringLiteral(TRAMIX_BINARY), args, workingFolder);
}

} // namespace tramix::test
