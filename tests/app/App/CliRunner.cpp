#include "CliRunner.h"

#include <QProcess>

namespace tramix::test {

QStringList CliOutput::lines() const {
    QStringList result = out.split(u'\n');
    if (!result.isEmpty() && result.last().isEmpty())
        result.removeLast();
    return result;
}

CliOutput runTramix(const QStringList& args, const QString& workingFolder) {
    QProcess process;
    process.setProgram(QStringLiteral(TRAMIX_BINARY));
    process.setArguments(args);
    if (!workingFolder.isEmpty())
        process.setWorkingDirectory(workingFolder);
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start();
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {QString::fromUtf8(process.readAllStandardOutput()), process.exitCode()};
}

} // namespace tramix::test
