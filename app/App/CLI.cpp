#include "CLI.h"

#include "Actions/FileActions.h"
#include "ConversionError.h"
#include "DurationText.h"
#include "JobRunner.h"
#include "OperationRegistry.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <algorithm>
#include <functional>

namespace tramix::CLI {

namespace {

using Command = std::function<void(const QStringList& args, QTextStream& out)>;

[[noreturn]] void fail(const QString& message) {
    throw ConversionError::failed(message);
}

// Relative arguments are taken from the current folder; nothing is checked for existence.
QStringList filePaths(const QStringList& args) {
    QStringList paths;
    for (const QString& arg : args)
        paths.append(QDir::cleanPath(QDir::current().absoluteFilePath(arg)));
    return paths;
}

void list(const QStringList& args, QTextStream& out) {
    if (args.size() < 3)
        fail(QStringLiteral("--list <convert|tools|actions> <dateien…>"));
    const QString& mode = args[1];
    const QStringList paths = filePaths(args.mid(2));
    const QList<FileOperation> operations =
        mode == u"tools"     ? OperationRegistry::toolOperations(paths)
        : mode == u"actions" ? FileActions::operations()
                             : OperationRegistry::convertOperations(paths);
    for (const FileOperation& operation : operations)
        out << operation.id << '\t' << operation.title << '\t' << operation.detail << '\n';
}

void runOperation(const QStringList& args, QTextStream& out) {
    if (args.size() < 3)
        fail(QStringLiteral("--run <operation-id> <dateien…>"));
    const QString& id = args[1];
    const QStringList paths = filePaths(args.mid(2));
    QList<FileOperation> candidates = OperationRegistry::convertOperations(paths);
    candidates.append(OperationRegistry::toolOperations(paths));
    const auto chosen = std::find_if(candidates.cbegin(), candidates.cend(),
                                     [&](const FileOperation& op) { return op.id == id; });
    if (chosen == candidates.cend())
        fail(QStringLiteral("Operation %1 passt nicht zu diesen Dateien.").arg(id));

    const JobResult result = JobRunner::run(*chosen, paths, OutputContext{std::nullopt, 0.85});
    for (const QString& output : result.outputs)
        out << output << '\n';
    for (const JobResult::Failure& failure : result.failures)
        out << "FEHLER " << QFileInfo(failure.input).fileName() << ": " << failure.message << '\n';
    out << "Dauer: " << durationText(result.duration) << '\n';
    if (!result.failures.isEmpty())
        fail(QStringLiteral("%1 Fehler").arg(result.failures.size()));
}

// The drawings belong to the interface; until it can draw them, a command says so honestly.
[[noreturn]] void cannotDrawYet(const QString& what) {
    throw ConversionError::unsupported(QStringLiteral("Rendern von %1").arg(what));
}

Command renderWithPath(const QString& what) {
    return [what](const QStringList& args, QTextStream&) {
        if (args.size() < 2 || args[1].isEmpty())
            fail(QStringLiteral("Ausgabepfad fehlt."));
        cannotDrawYet(what);
    };
}

void renderWheel(const QStringList& args, QTextStream&) {
    // The mode word is optional, so the path is the first argument that is not one.
    QStringList rest = args.mid(1);
    QString mode = QStringLiteral("convert");
    if (!rest.isEmpty() && (rest[0] == u"convert" || rest[0] == u"tools" || rest[0] == u"actions"))
        mode = rest.takeFirst();
    if (rest.isEmpty() || rest[0].isEmpty())
        fail(QStringLiteral("Ausgabepfad fehlt."));
    cannotDrawYet(QStringLiteral("Rad (%1)").arg(mode));
}

void renderEditor(const QStringList& args, QTextStream&) {
    if (args.size() < 3)
        fail(QStringLiteral("--render-editor <art> out.png dateien… [dark]"));
    static const QStringList arts = {"crop",          "backdrop",    "pdf-split",    "pdf-merge",
                                     "convert-wheel", "tools-wheel", "actions-wheel"};
    if (!arts.contains(args[1]))
        fail(QStringLiteral("Unbekannter Editor %1").arg(args[1]));
    cannotDrawYet(QStringLiteral("Editor %1").arg(args[1]));
}

const QHash<QString, Command>& commands() {
    static const QHash<QString, Command> table = {
        {"--list", list},
        {"--run", runOperation},
        {"--render-wheel", renderWheel},
        {"--render-icon", renderWithPath(QStringLiteral("App-Symbol"))},
        {"--render-editor", renderEditor},
        {"--render-scene", renderWithPath(QStringLiteral("Wiesen-Szene"))},
        {"--render-og", renderWithPath(QStringLiteral("Social-Card"))},
        {"--render-shelf", renderWithPath(QStringLiteral("Ablage"))},
        {"--render-menubar-icon", renderWithPath(QStringLiteral("Menüleisten-Symbol"))},
        {"--render-menu", renderWithPath(QStringLiteral("Menü"))},
        {"--render-dmg-background", renderWithPath(QStringLiteral("DMG-Hintergrund"))},
        {"--render-welcome", renderWithPath(QStringLiteral("Willkommensfenster"))},
        {"--render-settings", renderWithPath(QStringLiteral("Einstellungen"))},
    };
    return table;
}

} // namespace

bool isCommandLine(const QStringList& arguments) {
    return arguments.size() >= 2 && arguments[1].startsWith(u"--");
}

int run(const QStringList& args, QTextStream& out) {
    try {
        const QString first = args.value(0);
        const auto command = commands().constFind(first);
        if (command == commands().constEnd())
            fail(QStringLiteral("Unbekannter Befehl %1").arg(first));
        (*command)(args, out);
        out.flush();
        return 0;
    } catch (const std::exception& error) {
        out << "Fehler: " << describeError(error) << '\n';
        out.flush();
        return 1;
    }
}

} // namespace tramix::CLI
