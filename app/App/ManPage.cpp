#include "ManPage.h"

#include "Catalogue/Catalogue.h"
#include "Catalogue/OperationRegistry.h"
#include "CommandTable.h"
#include "HelpText.h"
#include "OperationGroup.h"
#include "WheelMode.h"

#include <QTextStream>
#include <algorithm>
#include <functional>

namespace tramix::ManPage {

namespace {

constexpr char32_t lastAscii = 0x7f;
constexpr int hexDigits = 4;
constexpr int tagGap = 2;      // between an operation id and its detail, in ens
constexpr int modeIndent = 10; // room for the longest mode word and a gap, in ens

QString bold(const QString& text) {
    return QStringLiteral("\\fB%1\\fR").arg(escaped(text));
}

QString italic(const QString& text) {
    return QStringLiteral("\\fI%1\\fR").arg(escaped(text));
}

// A tagged paragraph: the tag on its own line, the text indented below or beside it.
void item(QTextStream& out, const QString& tag, const QString& text, int indent = 0) {
    out << ".TP" << (indent > 0 ? QStringLiteral(" %1n").arg(indent) : QString()) << '\n';
    out << tag << '\n' << escaped(text) << '\n';
}

// Items without a blank line between them, for lists of short lines.
void compact(QTextStream& out, const std::function<void()>& items) {
    out << ".PD 0\n";
    items();
    out << ".PD\n";
}

QString commandTag(const CommandRow& row) {
    const QString name = QString::fromLatin1(row.name);
    const QString arguments = CommandTable::usage(row).mid(name.size()).trimmed();
    return arguments.isEmpty() ? bold(name) : bold(name) + u' ' + italic(arguments);
}

void writeHeader(QTextStream& out) {
    out << ".\\\" The manual page of tramix, made from its command table and catalogue.\n";
    out << ".TH TRAMIX 1 \"\" \"" << escaped(HelpText::versionLine()) << "\" \"Tramix\"\n";
    // English hyphenation patterns would split German words badly; ids must not be split at all.
    out << ".nh\n.ad l\n";
    out << ".SH NAME\ntramix \\- " << escaped(QStringLiteral("Dateien offline umwandeln")) << '\n';
    out << ".SH SYNOPSIS\n" << bold(QStringLiteral("tramix")) << '\n';
    for (const CommandRow& row : CommandTable::rows())
        out << ".br\n" << bold(QStringLiteral("tramix")) << ' ' << commandTag(row) << '\n';
    out << ".SH DESCRIPTION\n" << escaped(HelpText::description()) << '\n';
    out << ".PP\n"
        << escaped(QStringLiteral(
               "Findet die App keinen Bildschirm (weder DISPLAY noch WAYLAND_DISPLAY ist gesetzt, "
               "oder DISPLAY lässt sich nicht öffnen), endet sie mit einem Satz auf der "
               "Standardfehlerausgabe und Status 1."))
        << '\n';
    out << ".PP\n"
        << escaped(QStringLiteral(
               "Es läuft eine App je Sitzung: Sie belegt auf dem Session-Bus den Namen "
               "org.tramix.Tramix (Objekt /org/tramix/Tramix mit ShowWheel, Run und Quit); ein "
               "zweiter Start endet sofort mit Status 0."))
        << '\n';
}

void writeCommands(QTextStream& out) {
    out << ".SH COMMANDS\n";
    for (const CommandRow& row : CommandTable::rows())
        item(out, commandTag(row), QString::fromUtf8(row.summary));
    out << ".PP\n"
        << escaped(
               QStringLiteral("Modi für %1:").arg(HelpText::commandsTaking(ArgumentWords::modes)))
        << '\n';
    compact(out, [&] {
        for (WheelMode mode : WheelMode::allCases())
            item(out, bold(mode.rawValue()), mode.title(), modeIndent);
    });
    out << ".PP\n"
        << escaped(QStringLiteral("Ansichten für %1: %2.")
                       .arg(HelpText::commandsTaking(ArgumentWords::arts),
                            CommandTable::editorArts().join(QStringLiteral(", "))))
        << '\n';
}

void writeOperations(QTextStream& out) {
    const std::vector<OperationGroup> groups = OperationGroup::byKind();
    const qsizetype width = OperationGroup::idWidth(groups);
    out << ".SH OPERATIONS\n"
        << escaped(QStringLiteral("Die Kennungen für %1, nach Art der Dateien. „%2“ zeigt, "
                                  "welche davon zu bestimmten Dateien passen.")
                       .arg(HelpText::commandsTaking(ArgumentWords::operations),
                            CommandTable::usage(CommandId::list)))
        << '\n';
    for (const OperationGroup& group : groups) {
        out << ".SS " << escaped(group.title) << '\n';
        compact(out, [&] {
            for (const CatalogueRow* row : group.rows) {
                const QString id = QString::fromLatin1(row->id);
                QString detail = row->detail.in(Language::german);
                if (OperationRegistry::needsDesktop(id))
                    detail += QStringLiteral(" (nur in der App)");
                item(out, bold(id), detail, int(width) + tagGap);
            }
        });
    }
}

void writeFiles(QTextStream& out) {
    out << ".SH FILES\n";
    for (const auto& [path, what] : HelpText::fileNotes())
        item(out, italic(path), what);
    out << ".SH \"EXIT STATUS\"\n"
        << escaped(QStringLiteral(
               "0 bei Erfolg. 1, wenn ein Befehl scheitert; die letzte Zeile der Ausgabe ist dann "
               "„Fehler: …“. --run endet mit 1, sobald eine Datei scheitert, und macht die "
               "anderen trotzdem fertig."))
        << '\n';
}

// The first operation of a wheel for a kind of file, so the examples name real ids.
const CatalogueRow* firstRow(WheelMode mode, FileKind kind) {
    const auto& rows = Catalogue::rows();
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const CatalogueRow& row) {
        return row.mode == mode && row.kind == kind;
    });
    return found == rows.end() ? nullptr : &*found;
}

void writeExamples(QTextStream& out) {
    out << ".SH EXAMPLES\n";
    const QString list = QString::fromLatin1(CommandTable::row(CommandId::list).name);
    const QString run = QString::fromLatin1(CommandTable::row(CommandId::run).name);
    item(out,
         bold(QStringLiteral("tramix %1 %2 Urlaub.jpg Strand.png")
                  .arg(list, WheelMode(WheelMode::convert).rawValue())),
         QStringLiteral("Zeigt, was aus zwei Bildern werden kann."));
    const std::pair<const CatalogueRow*, QString> runs[] = {
        {firstRow(WheelMode::tools, FileKind::image), QStringLiteral("Urlaub.jpg")},
        {firstRow(WheelMode::convert, FileKind::spreadsheet), QStringLiteral("Kunden.csv")},
        {firstRow(WheelMode::convert, FileKind::folder), QStringLiteral("Fotos")},
    };
    for (const auto& [row, file] : runs) {
        if (row) {
            item(
                out,
                bold(
                    QStringLiteral("tramix %1 %2 %3").arg(run, QString::fromLatin1(row->id), file)),
                QStringLiteral("%1: %2.").arg(file, row->detail.in(Language::german)));
        }
    }
}

} // namespace

QString escaped(const QString& text) {
    QString result;
    if (text.startsWith(u'.') || text.startsWith(u'\''))
        result += QStringLiteral("\\&");
    for (char32_t c : text.toUcs4()) {
        if (c == U'\\')
            result += QStringLiteral("\\e");
        else if (c == U'-')
            result += QStringLiteral("\\-");
        else if (c <= lastAscii)
            result += QChar(c);
        else
            result += QStringLiteral("\\[u%1]").arg(
                QString::number(c, 16).toUpper().rightJustified(hexDigits, u'0'));
    }
    return result;
}

QString text() {
    QString page;
    QTextStream out(&page);
    writeHeader(out);
    writeCommands(out);
    writeOperations(out);
    writeFiles(out);
    writeExamples(out);
    out.flush();
    return page;
}

} // namespace tramix::ManPage
