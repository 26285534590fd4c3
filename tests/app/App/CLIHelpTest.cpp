#include "App/CommandTable.h"
#include "Catalogue/Catalogue.h"
#include "CliRunner.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

using tramix::test::runTramix;

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
        const QRegularExpression line("^    " + QRegularExpression::escape(row.id) + " +" +
                                          QRegularExpression::escape(QString::fromUtf8(row.detail)),
                                      QRegularExpression::MultilineOption);
        EXPECT_TRUE(line.match(help.out).hasMatch()) << row.id;
    }
    EXPECT_TRUE(help.out.contains("~/.local/state/Tramix/Tramix.log"));
    // No line is wider than a terminal.
    for (const QString& line : help.lines())
        EXPECT_LE(line.size(), 80) << line.toStdString();
}

TEST(CLIHelp, VersionIsTheProjectsAndOnlyTheExactWordsAreCommands) {
    const auto version = runTramix({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "tramix " TRAMIX_PROJECT_VERSION "\n");

    const auto upper = runTramix({"--HELP"});
    EXPECT_EQ(upper.status, 1);
    EXPECT_EQ(upper.out, "Fehler: Unbekannter Befehl --HELP\n");
    // Arguments after --help change nothing.
    EXPECT_EQ(runTramix({"--help", "x.jpg"}).out, runTramix({"--help"}).out);
}
