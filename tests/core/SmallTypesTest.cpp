#include "ConversionError.h"
#include "DurationText.h"
#include "FileKind.h"
#include "SizeCheck.h"
#include "TestFiles.h"
#include "WheelMode.h"

#include <QFileInfo>
#include <gtest/gtest.h>
#include <stdexcept>

using tramix::ConversionError;
using tramix::FileKind;
using tramix::WheelMode;

TEST(ConversionError, DescriptionsAreTheUserFacingSentences) {
    const auto unreadable = ConversionError::unreadable("a.pdf");
    EXPECT_EQ(unreadable.errorDescription().toStdString(),
              "\u201Ea.pdf\u201C konnte nicht gelesen werden.");
    // what() carries the same text, so generic handlers show it too.
    EXPECT_STREQ(unreadable.what(), "\u201Ea.pdf\u201C konnte nicht gelesen werden.");
    EXPECT_EQ(tramix::describeError(ConversionError::unsupported("HEIC-Export")).toStdString(),
              "Nicht unterstützt: HEIC-Export");
    // A sentence is shown unchanged, even one that looks like a placeholder.
    EXPECT_EQ(ConversionError::failed("Seite %1 fehlt.").errorDescription().toStdString(),
              "Seite %1 fehlt.");
    EXPECT_EQ(tramix::describeError(std::runtime_error("Kein Platz")).toStdString(), "Kein Platz");
}

TEST(DurationText, MillisecondsBelowOneSecondThenTenths) {
    EXPECT_EQ(tramix::durationText(0.34).toStdString(), "340 ms");
    // Truncated, never rounded up to "1000 ms".
    EXPECT_EQ(tramix::durationText(0.9999).toStdString(), "999 ms");
    EXPECT_EQ(tramix::durationText(1.0).toStdString(), "1.0 s");
    EXPECT_EQ(tramix::durationText(12.44).toStdString(), "12.4 s");
}

TEST(SizeCheck, RequiresAtLeastThreePercentLess) {
    tramix::test::TestFolder dir;
    const QString input = dir.file("input.bin", QByteArray(1000, 'a'));
    const QString exact = dir.file("exact.bin", QByteArray(970, 'b'));
    EXPECT_NO_THROW(tramix::SizeCheck::requireSmaller(exact, input, "Das Video"));
    EXPECT_TRUE(QFileInfo::exists(exact));

    const QString larger = dir.file("larger.bin", QByteArray(980, 'c'));
    try {
        tramix::SizeCheck::requireSmaller(larger, input, "Das Video");
        ADD_FAILURE() << "98 % of the input must be refused";
    } catch (const ConversionError& error) {
        EXPECT_EQ(error.errorDescription().toStdString(),
                  "Das Video ist bereits optimal komprimiert.");
    }
    EXPECT_FALSE(QFileInfo::exists(larger));

    // An unknown size accepts the output rather than destroying it.
    EXPECT_NO_THROW(tramix::SizeCheck::requireSmaller(input, dir.path("gone.bin"), "Das Video"));
    EXPECT_TRUE(QFileInfo::exists(input));
}

TEST(RawValues, RoundTripInDeclaredOrder) {
    QStringList kinds;
    for (FileKind kind : FileKind::allCases()) {
        kinds.append(kind.rawValue());
        EXPECT_EQ(FileKind::fromRawValue(kind.rawValue()), kind);
    }
    EXPECT_EQ(kinds.join(' ').toStdString(),
              "image pdf audio video document spreadsheet archive folder other");
    EXPECT_EQ(FileKind::fromRawValue(u"Image"), std::nullopt);

    QStringList modes;
    for (WheelMode mode : WheelMode::allCases()) {
        modes.append(mode.rawValue() + '=' + mode.title());
        EXPECT_EQ(WheelMode::fromRawValue(mode.rawValue()), mode);
    }
    EXPECT_EQ(modes.join(' ').toStdString(), "convert=Formate tools=Werkzeuge actions=Aktionen");
    EXPECT_EQ(WheelMode::fromRawValue(u"formate"), std::nullopt);
}
