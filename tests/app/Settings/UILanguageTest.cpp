#include "Settings/UILanguage.h"

#include <QLocale>
#include <gtest/gtest.h>

using namespace tramix;

TEST(UILanguage, GermanExactlyWhenTheFirstPreferredLanguageIsGerman) {
    EXPECT_TRUE(UILanguage::prefersGerman({"de-AT", "en"}));
    EXPECT_TRUE(UILanguage::prefersGerman({"de"}));
    EXPECT_TRUE(UILanguage::prefersGerman({"de-CH", "fr-CH"}));
    EXPECT_FALSE(UILanguage::prefersGerman({"en-US", "de"}));
    EXPECT_FALSE(UILanguage::prefersGerman({}));
    EXPECT_FALSE(UILanguage::prefersGerman({"fr"}));

    const bool german = UILanguage::german();
    EXPECT_EQ(german, UILanguage::prefersGerman(QLocale::system().uiLanguages()));
    EXPECT_EQ(UILanguage::text("Einstellungen", "Settings"), german ? "Einstellungen" : "Settings");
}
