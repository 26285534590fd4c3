#include "ChildProcess.h"

#include "ConversionError.h"
#include "EngineLog.h"

#include <QFileInfo>
#include <QProcess>
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace tramix::ChildProcess {

namespace {

// A tool left running after we are killed would finish a result nobody will ever name, or fill
// the disk with it.
void dieWithParent(pid_t parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(1); // the parent died before the line above took effect
}

} // namespace

void run(const QString& tool, const QStringList& arguments, const QString& workingFolder,
         const QProcessEnvironment& extraEnvironment, const Explain& explain) {
    const QString name = QFileInfo(tool).fileName();
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
    const pid_t parent = ::getpid();
    process.setChildProcessModifier([parent] { dieWithParent(parent); });
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardInputFile(QProcess::nullDevice());
    process.start();
    // Archivers on big folders run for minutes; only a failed launch ends the wait early.
    if (!process.waitForStarted(-1)) {
        qCWarning(engineLog) << name << "did not start:" << process.errorString();
        throw ConversionError::failed(
            QStringLiteral("%1 konnte nicht gestartet werden.").arg(name));
    }
    process.waitForFinished(-1);
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return;

    const QString errorOutput = QString::fromUtf8(process.readAllStandardError()).trimmed();
    qCWarning(engineLog).noquote()
        << name << arguments.join(u' ') << "exit" << process.exitCode() << errorOutput;
    const QString sentence = explain && process.exitStatus() == QProcess::NormalExit
                                 ? explain(process.exitCode(), errorOutput)
                                 : QString();
    throw ConversionError::failed(
        sentence.isEmpty() ? QStringLiteral("%1 ist fehlgeschlagen.").arg(name) : sentence);
}

} // namespace tramix::ChildProcess
