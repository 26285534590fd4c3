#include "Settings/ModifierKey.h"

#include "Settings/WheelActivation.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace tramix;

TEST(ModifierKey, SingleFindsExactlyOneKeyAndNothingForNoneOrSeveral) {
    EXPECT_EQ(ModifierKey::single(0x20000), ModifierKey::shift);
    EXPECT_EQ(ModifierKey::single(0x100000), ModifierKey::command);
    EXPECT_EQ(ModifierKey::single(0x40000), ModifierKey::control);
    EXPECT_EQ(ModifierKey::single(0x80000), ModifierKey::option);
    EXPECT_EQ(ModifierKey::single(0), std::nullopt);
    EXPECT_EQ(ModifierKey::single(0x20000 | 0x100000), std::nullopt);

    QStringList names;
    for (ModifierKey key : ModifierKey::allCases()) {
        names.append(key.rawValue());
        EXPECT_EQ(ModifierKey::fromRawValue(key.rawValue()), key);
    }
    EXPECT_EQ(names.join(' ').toStdString(), "shift command control option");
    EXPECT_EQ(ModifierKey::fromRawValue(u"alt"), std::nullopt);

    EXPECT_EQ(WheelActivation::fromRawValue(u"hold"), WheelActivation::hold);
    EXPECT_EQ(WheelActivation::fromRawValue(u"toggle"), WheelActivation::toggle);
    EXPECT_EQ(WheelActivation::fromRawValue(u"Hold"), std::nullopt);
}
