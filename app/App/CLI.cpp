#include "CLI.h"

#include "Catalogue/OperationRegistry.h"
#include "CommandTable.h"
#include "ConversionError.h"
#include "DesktopLibrary.h"
#include "DurationText.h"
#include "Engines/EngineModule.h"
#include "HelpText.h"
#include "Integration/Integration.h"
#include "JobRunner.h"
#include "Leftovers.h"
#include "WheelCommand.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <unistd.h>

namespace tramix::CLI {

namespace {

using Command = std::function<void(const QStringList& args, QTextStream& out)>;

[[noreturn]] void fail(const QString& message) {
    throw ConversionError::failed(message);
}

// One result per line, also for names that hold a line feed.
QString oneLine(QString text) {
    return text.replace(u'\n', QStringLiteral("\\n"));
}

void list(const QStringList& args, QTextStream& out) {
    if (args.size() < 3)
        fail(CommandTable::usage(CommandId::list));
    // An unknown mode word lists the conversions.
    const WheelMode mode = WheelMode::fromRawValue(args[1]).value_or(WheelMode::convert);
    for (const FileOperation& operation :
         OperationRegistry::operations(mode, filePaths(args.mid(2))))
        out << operation.id << '\t' << operation.title << '\t' << operation.detail << '\n';
}

// A line on a terminal's standard error that tells how far the job is, redrawn in place; nothing
// when standard error is a file or a pipe, where it would only be noise.
JobRunner::Fraction terminalProgress(const QString& title, std::atomic<bool>& drawn) {
    if (::isatty(STDERR_FILENO) == 0)
        return {};
    return [title, &drawn, shown = std::make_shared<std::atomic<int>>(-1)](double fraction) {
        const int percent = int(fraction * 100);
        if (shown->exchange(percent) == percent)
            return;
        std::fprintf(stderr, "\r\033[K%s: %d %%", title.toLocal8Bit().constData(), percent);
        std::fflush(stderr);
        drawn = true;
    };
}

void runOperation(const QStringList& args, QTextStream& out) {
    if (args.size() < 3)
        fail(CommandTable::usage(CommandId::run));
    const QString& id = args[1];
    const QStringList paths = filePaths(args.mid(2));
    // Every id that --list prints for these files, the wheels in their usual order.
    QList<FileOperation> candidates;
    for (WheelMode mode : WheelMode::allCases())
        candidates.append(OperationRegistry::operations(mode, paths));
    const auto chosen = std::find_if(candidates.cbegin(), candidates.cend(),
                                     [&](const FileOperation& op) { return op.id == id; });
    if (chosen == candidates.cend())
        fail(QStringLiteral("Operation %1 passt nicht zu diesen Dateien.").arg(id));
    if (const std::optional<QString> refusal = OperationRegistry::needsDesktop(id))
        fail(*refusal);

    Leftovers::sweep();
    std::atomic<bool> drawn = false;
    const JobResult result = JobRunner::run(*chosen, paths, OutputContext{std::nullopt, 0.85}, {},
                                            terminalProgress(chosen->title, drawn));
    if (drawn) {
        std::fprintf(stderr, "\r\033[K");
        std::fflush(stderr);
    }
    for (const QString& output : result.outputs)
        out << oneLine(output) << '\n';
    for (const JobResult::Failure& failure : result.failures) {
        out << "FEHLER " << oneLine(QFileInfo(failure.input).fileName()) << ": "
            << oneLine(failure.message) << '\n';
    }
    out << "Dauer: " << durationText(result.duration) << '\n';
    if (!result.failures.isEmpty())
        fail(QStringLiteral("%1 Fehler").arg(result.failures.size()));
}

void printLines(const QStringList& lines, QTextStream& out) {
    for (const QString& line : lines)
        out << line << '\n';
}

void installIntegration(const QStringList&, QTextStream& out) {
    printLines(Integration::install(IntegrationFiles::userSetup()), out);
}

void removeIntegration(const QStringList&, QTextStream& out) {
    printLines(Integration::remove(IntegrationFiles::userSetup()), out);
}

void help(const QStringList&, QTextStream& out) {
    out << HelpText::text();
}

void version(const QStringList&, QTextStream& out) {
    out << HelpText::versionLine() << '\n';
}

Command handler(CommandId id) {
    switch (id) {
    case CommandId::list:
        return list;
    case CommandId::run:
        return runOperation;
    case CommandId::wheel:
        return WheelCommand::run;
    case CommandId::installIntegration:
        return installIntegration;
    case CommandId::removeIntegration:
        return removeIntegration;
    case CommandId::help:
        return help;
    case CommandId::version:
        return version;
    default: // a drawing, which needs the desktop library
        break;
    }
    return [id](const QStringList& args, QTextStream& out) {
        EngineModule::table<DesktopLibrary>().draw(id, args, out);
    };
}

} // namespace

QStringList filePaths(const QStringList& args) {
    QStringList paths;
    for (const QString& arg : args)
        paths.append(QDir::cleanPath(QDir::current().absoluteFilePath(arg)));
    return paths;
}

bool isCommandLine(const QStringList& arguments) {
    return arguments.size() >= 2 && arguments[1].startsWith(u"--");
}

int run(const QStringList& args, QTextStream& out) {
    try {
        const QString first = args.value(0);
        const CommandRow* command = CommandTable::find(first);
        if (!command)
            fail(QStringLiteral("Unbekannter Befehl %1").arg(first));
        handler(command->id)(args, out);
        out.flush();
        return 0;
    } catch (const std::exception& error) {
        out << "Fehler: " << describeError(error) << '\n';
        out.flush();
        return 1;
    }
}

} // namespace tramix::CLI
