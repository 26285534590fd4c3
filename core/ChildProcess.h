// Command-line tools run to their end, with argument lists and never a shell.
#pragma once

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace tramix::ChildProcess {

// Runs one tool to its end and throws ConversionError with the tool's own error output (or
// "{tool} ist fehlgeschlagen." when it said nothing) unless it exits with 0. `extraEnvironment`
// is merged over this process's environment.
void run(const QString& tool, const QStringList& arguments, const QString& workingFolder = {},
         const QProcessEnvironment& extraEnvironment = {});

} // namespace tramix::ChildProcess
