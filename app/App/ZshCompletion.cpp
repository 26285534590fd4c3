#include "ZshCompletion.h"

#include "Catalogue/Catalogue.h"
#include "CommandTable.h"
#include "ShellQuote.h"
#include "WheelMode.h"

#include <QTextStream>

namespace tramix::ZshCompletion {

namespace {

constexpr const char* head = R"(#compdef tramix
# zsh completion for tramix, made from its command table and catalogue.

local -a subcommands choices
local label='' first_files=0 rest_files=0 ret=1
subcommands=(
)";

constexpr const char* tail = R"(  (*) return 1 ;;
esac
if (( CURRENT > 3 )); then
  (( rest_files )) && _files && ret=0
  return ret
fi
(( $#choices )) && _describe -t arguments "$label" choices && ret=0
(( first_files )) && _files && ret=0
return ret
)";

// "name:description" as _describe reads it: a colon in the name would end it early.
QString described(const QString& name, const QString& description) {
    QString item = name;
    item.replace(u':', QStringLiteral("\\:"));
    return shellQuoted(description.isEmpty() ? item : item + u':' + description);
}

QString detailOf(const QString& id) {
    const CatalogueRow* row = Catalogue::find(id);
    return row ? row->detail.in(Language::german) : QString();
}

QString descriptionOf(ArgumentWords kind, const QString& word) {
    switch (kind) {
    case ArgumentWords::none:
    case ArgumentWords::arts:
        return {};
    case ArgumentWords::modes:
        return WheelMode::fromRawValue(word)->title();
    case ArgumentWords::operations:
        return detailOf(word);
    }
    Q_UNREACHABLE();
}

QString labelOf(ArgumentWords kind) {
    switch (kind) {
    case ArgumentWords::none:
        return {};
    case ArgumentWords::modes:
        return QStringLiteral("Modus");
    case ArgumentWords::operations:
        return QStringLiteral("Operation");
    case ArgumentWords::arts:
        return QStringLiteral("Ansicht");
    }
    Q_UNREACHABLE();
}

void writeBranch(QTextStream& out, const CommandRow& row) {
    out << "  (" << row.name << ")\n    choices=(";
    for (const QString& word : CommandTable::words(row.words))
        out << "\n      " << described(word, descriptionOf(row.words, word));
    out << ")\n    label=" << shellQuoted(labelOf(row.words))
        << " first_files=" << int(CommandTable::firstTakesFiles(row))
        << " rest_files=" << int(row.files) << " ;;\n";
}

} // namespace

QString script() {
    QString text;
    QTextStream out(&text);
    out << head;
    for (const CommandRow& row : CommandTable::rows())
        out << "  " << described(QString::fromLatin1(row.name), QString::fromUtf8(row.summary))
            << '\n';
    out << ")\nif (( CURRENT == 2 )); then\n  _describe -t commands 'Befehl' subcommands\n  "
           "return\n"
           "fi\ncase $words[2] in\n";
    for (const CommandRow& row : CommandTable::rows())
        writeBranch(out, row);
    out << tail;
    out.flush();
    return text;
}

} // namespace tramix::ZshCompletion
