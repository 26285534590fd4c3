#include "HelpText.h"

#include "Catalogue/OperationRegistry.h"
#include "CommandTable.h"
#include "OperationGroup.h"
#include "WheelMode.h"

#include <QTextStream>
#include <algorithm>

namespace tramix::HelpText {

namespace {

constexpr int columnGap = 2;
constexpr int lineWidth = 80;
const QString indent = QStringLiteral("  ");

QString padded(const QString& text, qsizetype width) {
    return text.leftJustified(width + columnGap);
}

// The words of `text` in lines that fit the terminal, each line starting with `lead`.
QString wrapped(const QString& text, const QString& lead = QString()) {
    QString result;
    QString line = lead;
    for (const QString& word : text.split(u' ', Qt::SkipEmptyParts)) {
        if (line.size() > lead.size() && line.size() + 1 + word.size() > lineWidth) {
            result += line + u'\n';
            line = lead;
        }
        if (line.size() > lead.size())
            line += u' ';
        line += word;
    }
    return result + line + u'\n';
}

void writeCommands(QTextStream& out) {
    out << "Befehle:\n";
    for (const CommandRow& row : CommandTable::rows()) {
        out << indent << CommandTable::usage(row) << '\n';
        out << wrapped(QString::fromUtf8(row.summary), indent + indent + indent);
    }
}

void writeModes(QTextStream& out) {
    out << "Modi für " << commandsTaking(ArgumentWords::modes) << ":\n";
    const QStringList words = CommandTable::modeWords();
    qsizetype width = 0;
    for (const QString& word : words)
        width = std::max(width, word.size());
    for (WheelMode mode : WheelMode::allCases())
        out << indent << padded(mode.rawValue(), width) << mode.title() << '\n';
}

void writeArts(QTextStream& out) {
    out << "Ansichten für " << commandsTaking(ArgumentWords::arts) << ":\n";
    out << wrapped(CommandTable::editorArts().join(QStringLiteral(", ")), indent);
}

void writeOperations(QTextStream& out) {
    const std::vector<OperationGroup> groups = OperationGroup::byKind();
    const qsizetype width = OperationGroup::idWidth(groups);
    out << "Operationen für " << commandsTaking(ArgumentWords::operations)
        << ", nach Art der Dateien:\n";
    for (const OperationGroup& group : groups) {
        out << indent << group.title << ":\n";
        for (const CatalogueRow* row : group.rows) {
            const QString id = QString::fromLatin1(row->id);
            out << indent << indent << padded(id, width) << row->detail.in(Language::german);
            if (OperationRegistry::needsDesktop(id))
                out << " (nur in der App)";
            out << '\n';
        }
    }
}

void writeFiles(QTextStream& out) {
    out << "Dateien:\n";
    for (const auto& [path, what] : fileNotes())
        out << indent << path << '\n' << wrapped(what, indent + indent + indent);
}

} // namespace

QString text() {
    QString text;
    QTextStream out(&text);
    out << "Aufruf: tramix --befehl [argumente…]\n\n" << wrapped(description()) << '\n';
    writeCommands(out);
    out << '\n';
    writeModes(out);
    out << '\n';
    writeArts(out);
    out << '\n';
    writeOperations(out);
    out << '\n';
    writeFiles(out);
    out << "\nMehr in „man tramix“.\n";
    out.flush();
    return text;
}

QString versionLine() {
    return QStringLiteral("tramix " TRAMIX_VERSION);
}

QString description() {
    return QStringLiteral(
        "Tramix wandelt Dateien offline um. Ohne Befehl (oder mit einem ersten Argument, das "
        "nicht mit „--“ beginnt) startet es als Symbol in der Leiste. Mit einem Befehl führt es "
        "ihn aus und endet mit Status 0, bei einem Fehler mit „Fehler: …“ und Status 1. "
        "Ergebnisse landen neben den Originalen und überschreiben nie etwas.");
}

std::vector<std::pair<QString, QString>> fileNotes() {
    return {
        {QStringLiteral("~/.config/Tramix/Tramix.conf"),
         QStringLiteral("Einstellungen und Zähler (unter $XDG_CONFIG_HOME, wenn gesetzt)")},
        {QStringLiteral("~/.local/state/Tramix/Tramix.log"),
         QStringLiteral("Protokoll (unter $XDG_STATE_HOME, wenn gesetzt)")},
        {QStringLiteral("~/.local/state/Tramix/shelf.json"),
         QStringLiteral("Die Dateien in der schwebenden Ablage, als Pfade (unter $XDG_STATE_HOME, "
                        "wenn gesetzt)")},
        {QStringLiteral("~/.config/autostart/tramix.desktop"),
         QStringLiteral("Start bei der Anmeldung, wenn eingeschaltet")},
    };
}

QString commandsTaking(ArgumentWords words) {
    QStringList names;
    for (const CommandRow& row : CommandTable::rows()) {
        if (row.words == words)
            names.append(QString::fromLatin1(row.name));
    }
    if (names.size() < 2)
        return names.join(QString());
    return names.mid(0, names.size() - 1).join(QStringLiteral(", ")) + QStringLiteral(" und ") +
           names.last();
}

} // namespace tramix::HelpText
