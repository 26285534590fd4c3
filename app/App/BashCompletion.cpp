#include "BashCompletion.h"

#include "CommandTable.h"
#include "ShellQuote.h"

#include <QTextStream>

namespace tramix::BashCompletion {

namespace {

// Splitting at blanks only keeps an operation id whole whatever COMP_WORDBREAKS holds; readline
// still replaces only the part after its last break character, so that part is what is offered.
// File names are left to readline itself, which knows quoting and "~".
constexpr const char* head =
    R"(# bash completion for tramix, made from its command table and catalogue.

_tramix() {
    local line=${COMP_LINE:0:COMP_POINT}
    local -a words
    read -ra words <<<"$line"
    [[ -z $line || $line == *[[:blank:]] ]] && words+=('')
    local cur=${words[-1]} position=$((${#words[@]} - 1))
    local choices='' first_files=0 rest_files=0 files=0
    if ((position == 1)); then
        choices=)";

constexpr const char* tail = R"(            *) return 0 ;;
        esac
        files=$first_files
        if ((position > 2)); then
            choices=''
            files=$rest_files
        fi
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$cur")
    if [[ -n ${COMP_WORDBREAKS-} ]]; then
        local lead=${cur%"${cur##*[$COMP_WORDBREAKS]}"}
        [[ -n $lead ]] && COMPREPLY=("${COMPREPLY[@]#"$lead"}")
    fi
    ((files)) && compopt -o default 2>/dev/null
    return 0
}

complete -F _tramix tramix
)";

QString commandNames() {
    QStringList names;
    for (const CommandRow& row : CommandTable::rows())
        names.append(QString::fromLatin1(row.name));
    return names.join(u' ');
}

void writeBranch(QTextStream& out, const CommandRow& row) {
    out << "            " << row.name
        << ") choices=" << shellQuoted(CommandTable::words(row.words).join(u' '))
        << " first_files=" << int(CommandTable::firstTakesFiles(row))
        << " rest_files=" << int(row.files) << " ;;\n";
}

} // namespace

QString script() {
    QString text;
    QTextStream out(&text);
    out << head << shellQuoted(commandNames()) << "\n    else\n        case ${words[1]} in\n";
    for (const CommandRow& row : CommandTable::rows())
        writeBranch(out, row);
    out << tail;
    out.flush();
    return text;
}

} // namespace tramix::BashCompletion
