#include "ChildProcess.h"

#include "ConversionError.h"
#include "EngineLog.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace tramix::ChildProcess {

namespace {

// Our own failure sentence for a tool that ended badly; its error text goes to the log only.
[[noreturn]] void fail(const QString& name, const QStringList& arguments, QProcess& process,
                       const Explain& explain) {
    const QString errorOutput = QString::fromUtf8(process.readAllStandardError()).trimmed();
    qCWarning(engineLog).noquote()
        << name << arguments.join(u' ') << "exit" << process.exitCode() << errorOutput;
    const QString sentence = explain && process.exitStatus() == QProcess::NormalExit
                                 ? explain(process.exitCode(), errorOutput)
                                 : QString();
    throw ConversionError::failed(
        sentence.isEmpty() ? QStringLiteral("%1 ist fehlgeschlagen.").arg(name) : sentence);
}

void startOrThrow(QProcess& process, const QString& name) {
    const pid_t parent = ::getpid();
    process.setChildProcessModifier([parent] { dieWithParent(parent); });
    process.start();
    if (!process.waitForStarted(-1)) {
        qCWarning(engineLog) << name << "did not start:" << process.errorString();
        throw ConversionError::failed(
            QStringLiteral("%1 konnte nicht gestartet werden.").arg(name));
    }
}

constexpr int pollMs = 100; // how soon a cancel is noticed

} // namespace

// A tool left running after we are killed would finish a result nobody will ever name, or fill
// the disk with it.
void dieWithParent(pid_t parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(1); // the parent died before the line above took effect
}

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
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardInputFile(QProcess::nullDevice());
    // Archivers on big folders run for minutes; only a failed launch ends the wait early.
    startOrThrow(process, name);
    process.waitForFinished(-1);
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return;
    fail(name, arguments, process, explain);
}

void stream(const QString& tool, const QStringList& arguments,
            const std::function<void(const QByteArray& line)>& onLine,
            const std::function<bool()>& cancelled, const QByteArray& stopRequest, int stopGraceMs,
            const Explain& explain) {
    const QString name = QFileInfo(tool).fileName();
    QProcess process;
    process.setProgram(tool);
    process.setArguments(arguments);
    startOrThrow(process, name);
    QElapsedTimer sinceStop;
    auto readLines = [&] {
        while (process.canReadLine())
            onLine(process.readLine().trimmed());
    };
    while (process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(pollMs);
        readLines();
        if (!sinceStop.isValid() && cancelled && cancelled()) {
            process.write(stopRequest);
            process.waitForBytesWritten(pollMs);
            sinceStop.start();
        } else if (sinceStop.isValid() && sinceStop.elapsed() > 2 * stopGraceMs) {
            process.kill();
        } else if (sinceStop.isValid() && sinceStop.elapsed() > stopGraceMs) {
            process.terminate();
        }
    }
    process.waitForFinished(-1);
    readLines();
    if (sinceStop.isValid()) {
        process.readAllStandardError();
        throw ConversionError::cancelled();
    }
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return;
    fail(name, arguments, process, explain);
}

} // namespace tramix::ChildProcess
