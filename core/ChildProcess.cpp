#include "ChildProcess.h"

#include "ConversionError.h"

#include <QFileInfo>
#include <QProcess>

namespace tramix::ChildProcess {

void run(const QString& tool, const QStringList& arguments, const QString& workingFolder,
         const QProcessEnvironment& extraEnvironment) {
    QProcess process;
    process.setProgram(tool);
    process.setArguments(arguments);
    if (!workingFolder.isEmpty())
        process.setWorkingDirectory(workingFolder);
    if (!extraEnvironment.isEmpty()) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(extraEnvironment);
        process.setProcessEnvironment(environment);
    }
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardInputFile(QProcess::nullDevice());
    process.start();
    // Archivers on big folders run for minutes; only a failed launch ends the wait early.
    if (!process.waitForStarted(-1))
        throw ConversionError::failed(process.errorString());
    process.waitForFinished(-1);

    const QString name = QFileInfo(tool).fileName();
    if (process.exitStatus() != QProcess::NormalExit)
        throw ConversionError::failed(QStringLiteral("%1 ist fehlgeschlagen.").arg(name));
    if (process.exitCode() == 0)
        return;
    const QString message = QString::fromUtf8(process.readAllStandardError()).trimmed();
    throw ConversionError::failed(
        message.isEmpty() ? QStringLiteral("%1 ist fehlgeschlagen.").arg(name) : message);
}

} // namespace tramix::ChildProcess
