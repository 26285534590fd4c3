#include "TerminalAction.h"

#include "ConversionError.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace tramix::TerminalAction {

namespace {

const QStringList knownTerminals = {QStringLiteral("gnome-terminal"), QStringLiteral("konsole"),
                                    QStringLiteral("xfce4-terminal"), QStringLiteral("xterm")};

// Terminals that start their windows from a server process do not inherit the working
// directory and must be told it.
QStringList folderArguments(const QString& program, const QString& folder) {
    const QString name = QFileInfo(program).fileName();
    if (name == u"gnome-terminal" || name == u"xfce4-terminal")
        return {QStringLiteral("--working-directory=") + folder};
    if (name == u"konsole")
        return {QStringLiteral("--workdir"), folder};
    return {};
}

} // namespace

QString folderFor(const QStringList& paths) {
    const QFileInfo first(paths.value(0));
    return first.isDir() ? first.absoluteFilePath() : first.absolutePath();
}

std::optional<Launch> launchIn(const QString& folder) {
    QStringList candidates;
    const QString preferred = qEnvironmentVariable("TERMINAL").trimmed();
    if (!preferred.isEmpty())
        candidates.append(preferred);
    candidates.append(QStringLiteral("x-terminal-emulator"));
    candidates.append(knownTerminals);
    for (const QString& candidate : std::as_const(candidates)) {
        const QString program = QStandardPaths::findExecutable(candidate);
        if (!program.isEmpty())
            return Launch{program, folderArguments(program, folder), folder};
    }
    return std::nullopt;
}

void open(const QStringList& paths) {
    const QString folder = folderFor(paths);
    const std::optional<Launch> launch = launchIn(folder);
    if (!launch) {
        throw ConversionError::failed(
            QStringLiteral("Kein Terminalprogramm gefunden. Installiere eines (etwa xterm) oder "
                           "nenne es in der Umgebungsvariable TERMINAL."));
    }
    if (!QProcess::startDetached(launch->program, launch->arguments, launch->folder)) {
        throw ConversionError::failed(QStringLiteral("Das Terminal „%1“ ließ sich nicht starten.")
                                          .arg(QFileInfo(launch->program).fileName()));
    }
}

} // namespace tramix::TerminalAction
