// --help and --version, and the man page and shell completions that the build writes, read by
// the programs that use them.
#include "App/CommandTable.h"
#include "Catalogue/Catalogue.h"
#include "CliRunner.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

using tramix::test::runProgram;
using tramix::test::runTramix;

namespace {

// What bash offers for `line` with the cursor at its end: the words of COMPREPLY, sorted.
QStringList bashOffers(const QString& line, const QString& wordBreaks = QString()) {
    // As bash would set them; the function must not depend on how COMP_WORDS was split.
    const QString script = QStringLiteral(R"(
        source "$1"
        [[ -n $3 ]] && COMP_WORDBREAKS=$3
        COMP_LINE=$2 COMP_POINT=${#2}
        read -ra COMP_WORDS <<<"$2"
        COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
        _tramix
        printf '%s\n' "${COMPREPLY[@]}")");
    const auto bash = runProgram("bash", {"--norc", "--noprofile", "-c", script, "bash",
                                          TRAMIX_BASH_COMPLETION, line, wordBreaks});
    EXPECT_EQ(bash.status, 0) << bash.err.toStdString();
    QStringList words = bash.out.split(u'\n', Qt::SkipEmptyParts);
    words.sort();
    return words;
}

QStringList idsStartingWith(const QString& prefix) {
    QStringList ids;
    for (const tramix::CatalogueRow& row : tramix::Catalogue::rows()) {
        if (QLatin1StringView(row.id).startsWith(prefix) && !ids.contains(row.id))
            ids.append(row.id);
    }
    ids.sort();
    return ids;
}

} // namespace

TEST(CLIHelp, NamesEveryCommandAndEveryOperationWithItsDetail) {
    const auto help = runTramix({"--help"});
    ASSERT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith("Aufruf: tramix")) << help.out.toStdString();

    for (const tramix::CommandRow& row : tramix::CommandTable::rows()) {
        const QString usage = tramix::CommandTable::usage(row);
        EXPECT_TRUE(help.lines().contains("  " + usage)) << usage.toStdString();
    }
    for (const tramix::CatalogueRow& row : tramix::Catalogue::rows()) {
        // The id, padding, then its detail text on the same line.
        const QRegularExpression line(
            "^    " + QRegularExpression::escape(row.id) + " +" +
                QRegularExpression::escape(row.detail.in(tramix::Language::german)),
            QRegularExpression::MultilineOption);
        EXPECT_TRUE(line.match(help.out).hasMatch()) << row.id;
    }
    EXPECT_TRUE(help.out.contains("~/.local/state/Tramix/Tramix.log"));
    // No line is wider than a terminal.
    for (const QString& line : help.lines())
        EXPECT_LE(line.size(), 80) << line.toStdString();
}

TEST(CLIHelp, VersionIsTheProjectsAndArgumentsAfterHelpChangeNothing) {
    const auto version = runTramix({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "tramix " TRAMIX_PROJECT_VERSION "\n");
    EXPECT_EQ(runTramix({"--help", "x.jpg"}).out, runTramix({"--help"}).out);
}

TEST(CLIDocs, BashCompletesCommandsModesAndWholeOperationIds) {
    EXPECT_EQ(bashOffers("tramix --li"), QStringList{"--list"});
    EXPECT_EQ(bashOffers("tramix --render-me"),
              QStringList({"--render-menu", "--render-menubar-icon"}));
    EXPECT_EQ(bashOffers("tramix --list "), QStringList({"actions", "convert", "tools"}));

    const QStringList sheets = idsStartingWith("convert.sh");
    ASSERT_GE(sheets.size(), 2);
    EXPECT_EQ(bashOffers("tramix --run convert.sh"), sheets);
    // With a dot among the word breaks readline replaces only what follows the last dot.
    QStringList tails;
    for (const QString& id : sheets)
        tails.append(id.section(u'.', 1));
    EXPECT_EQ(bashOffers("tramix --run convert.sh", " \t\n\"'><=;|&(:."), tails);

    // What needs the desktop cannot run here, so it is not offered.
    EXPECT_FALSE(idsStartingWith("action.").isEmpty());
    EXPECT_EQ(bashOffers("tramix --run action."), QStringList());
    // Files come after the id; those are readline's own completion.
    EXPECT_EQ(bashOffers("tramix --run convert.sh convert."), QStringList());
}

TEST(CLIDocs, ZshHandsTheSameWordsToItsCompletionSystem) {
    // _describe and _files stand in for the completion system and print what they were given.
    const QString script = QStringLiteral(R"(
        fpath=(${1:h} $fpath)
        autoload -Uz _tramix
        _describe() { print -r -- "${@[-2]}: ${(j:|:)${(P)${@[-1]}}}" }
        _files() { print -r -- files }
        words=(${(z)2})
        [[ $2 == *' ' ]] && words+=('')
        CURRENT=$#words
        _tramix)");
    auto offers = [&](const QString& line) {
        const auto zsh =
            runProgram("zsh", {"-f", "-c", script, "zsh", TRAMIX_ZSH_COMPLETION, line});
        EXPECT_TRUE(zsh.err.isEmpty()) << zsh.err.toStdString();
        return zsh.out.trimmed();
    };
    EXPECT_TRUE(offers("tramix --li").startsWith("Befehl: --list:Zeigt "));
    EXPECT_EQ(offers("tramix --list "), "Modus: convert:Formate|tools:Werkzeuge|actions:Aktionen");
    EXPECT_TRUE(offers("tramix --run convert.sh").contains("|convert.sheet.csv:In CSV umwandeln|"));
    EXPECT_FALSE(offers("tramix --run convert.sh").contains("action.copy"));
    EXPECT_EQ(offers("tramix --run convert.sheet.csv "), "files");
    EXPECT_EQ(offers("tramix --render-wheel "),
              "Modus: convert:Formate|tools:Werkzeuge|actions:Aktionen\nfiles");
    EXPECT_EQ(offers("tramix --version "), "");
}

TEST(CLIDocs, ManPageRendersWithoutWarningsAndNamesEveryOperation) {
    const auto page = runProgram(
        "groff", {"-man", "-Tutf8", "-ww", "-P", "-c", "-P", "-b", "-P", "-u", TRAMIX_MAN_PAGE});
    ASSERT_EQ(page.status, 0);
    EXPECT_EQ(page.err, "");
    for (const char* section : {"NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "OPERATIONS",
                                "FILES", "EXIT STATUS", "EXAMPLES"})
        EXPECT_TRUE(page.out.contains(u'\n' + QLatin1StringView(section) + u'\n')) << section;
    for (const tramix::CatalogueRow& row : tramix::Catalogue::rows())
        EXPECT_TRUE(page.out.contains(row.id)) << row.id;
    // Options keep plain hyphens, to be copied into a terminal; German text comes out whole.
    EXPECT_TRUE(page.out.contains("tramix --list <convert|tools|actions> <dateien…>"));
    EXPECT_TRUE(page.out.contains("„--“"));
    EXPECT_TRUE(page.out.contains("Einstellungen und Zähler"));
}
