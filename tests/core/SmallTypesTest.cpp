#include "ChildProcess.h"
#include "ConversionError.h"
#include "DurationText.h"
#include "SizeCheck.h"
#include "TestFiles.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace tramix;
using test::errorOf;

TEST(ConversionError, DescriptionsAreTheUserFacingSentences) {
    const auto unreadable = ConversionError::unreadable("a.pdf");
    EXPECT_EQ(unreadable.errorDescription(), "„a.pdf“ konnte nicht gelesen werden.");
    // what() carries the same text, so generic handlers show it too.
    EXPECT_STREQ(unreadable.what(), "„a.pdf“ konnte nicht gelesen werden.");
    EXPECT_EQ(describeError(ConversionError::unsupported("HEIC-Export")),
              "Nicht unterstützt: HEIC-Export");
    // A sentence is shown unchanged, even one that looks like a placeholder.
    EXPECT_EQ(ConversionError::failed("Seite %1 fehlt.").errorDescription(), "Seite %1 fehlt.");
    // Libraries' own English goes to the log; the user gets a sentence.
    EXPECT_EQ(describeError(std::runtime_error("qpdf: object 7 0: invalid")),
              "Unerwarteter Fehler. Einzelheiten stehen im Protokoll.");
}

TEST(DurationText, MillisecondsBelowOneSecondThenTenths) {
    EXPECT_EQ(durationText(0.34), "340 ms");
    // Truncated, never rounded up to "1000 ms".
    EXPECT_EQ(durationText(0.9999), "999 ms");
    EXPECT_EQ(durationText(1.0), "1.0 s");
    EXPECT_EQ(durationText(12.44), "12.4 s");
}

TEST(SizeCheck, RequiresAtLeastThreePercentLess) {
    test::TestFolder dir;
    const QString input = dir.file("input.bin", QByteArray(1000, 'a'));
    const QString exact = dir.file("exact.bin", QByteArray(970, 'b'));
    const QString larger = dir.file("larger.bin", QByteArray(980, 'c'));
    EXPECT_EQ(errorOf([&] { SizeCheck::requireSmaller(exact, input, "Das Video"); }), "(no error)");
    EXPECT_EQ(errorOf([&] { SizeCheck::requireSmaller(larger, input, "Das Video"); }),
              "Das Video ist bereits optimal komprimiert.");
    // An unknown size accepts the output rather than destroying it.
    EXPECT_NO_THROW(SizeCheck::requireSmaller(input, dir.path("gone.bin"), "Das Video"));
    EXPECT_EQ(dir.names(), QStringList({"exact.bin", "input.bin"}));
}

TEST(ChildProcess, ReportsTheToolsOwnErrorTextOrNamesTheSilentTool) {
    test::TestFolder dir;
    const QString sh = QStringLiteral("/bin/sh");
    // Working folder and merged environment reach the child; standard output is discarded.
    QProcessEnvironment extra;
    extra.insert("TRAMIX_PROBE", "seen");
    ChildProcess::run(sh, {"-c", "echo noise; printf %s \"$TRAMIX_PROBE\" > probe"}, dir.path("."),
                      extra);
    EXPECT_EQ(test::readText(dir.path("probe")), "seen");

    // The tool's own words are explained, or it is named; they never reach the user raw.
    const auto explain = [](int code, const QString& said) {
        return code == 12 && said == u"zip: Nothing to do!" ? QStringLiteral("Nichts zu tun.")
                                                            : QString();
    };
    const QString noisy = "printf '  zip: Nothing to do!\\n\\t' >&2; exit 12";
    EXPECT_EQ(errorOf([&] {
                  ChildProcess::run(sh, {"-c", noisy}, {}, {}, explain);
              }),
              "Nichts zu tun.");
    EXPECT_EQ(errorOf([&] { ChildProcess::run(sh, {"-c", noisy}); }), "sh ist fehlgeschlagen.");
    EXPECT_EQ(errorOf([&] { ChildProcess::run(dir.path("missing-tool"), {}); }),
              "missing-tool konnte nicht gestartet werden.");
}
