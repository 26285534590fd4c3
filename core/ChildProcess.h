// Command-line tools run to their end, with argument lists and never a shell, and die with us.
#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <functional>
#include <sys/types.h>

namespace tramix::ChildProcess {

// Turns a tool's failure (its exit code and its error output) into a German sentence for the
// user, or an empty text when the cause is not one the user can act on.
using Explain = std::function<QString(int exitCode, const QString& errorOutput)>;

// For a child process between fork and exec: it is killed when `parent` (this process) dies,
// and ends at once when that has already happened.
void dieWithParent(pid_t parent);

// Runs one tool to its end. Unless it exits with 0, the tool's error output goes to the engine
// log and ConversionError is thrown with what `explain` makes of it, or "{tool} ist
// fehlgeschlagen." The tool is killed when this process dies. `extraEnvironment` is merged over
// this process's environment.
void run(const QString& tool, const QStringList& arguments, const QString& workingFolder = {},
         const QProcessEnvironment& extraEnvironment = {}, const Explain& explain = {});

// As `run`, for a long tool that reports as it goes: each line it writes to standard output is
// given to `onLine` as it comes. `cancelled` is asked a few times a second; once it answers
// true, the tool gets `stopRequest` on its standard input, SIGTERM after `stopGraceMs` and SIGKILL
// after as long again, and ConversionError::cancelled is thrown once it has gone.
void stream(const QString& tool, const QStringList& arguments,
            const std::function<void(const QByteArray& line)>& onLine,
            const std::function<bool()>& cancelled, const QByteArray& stopRequest, int stopGraceMs,
            const Explain& explain = {});

} // namespace tramix::ChildProcess
