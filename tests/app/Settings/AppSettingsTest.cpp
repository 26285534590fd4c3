#include "Settings/AppSettings.h"

#include "ScratchLog.h"
#include "TestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace tramix;

namespace {

class AppSettingsTest : public ::testing::Test {
protected:
    QString storeFile() const { return folder.path("config/Tramix.conf"); }
    LoginItem loginItem() const {
        return LoginItem(folder.path("autostart/tramix.desktop"),
                         QStringLiteral("/usr/bin/tramix"));
    }
    std::unique_ptr<AppSettings> load() const {
        return std::make_unique<AppSettings>(storeFile(), loginItem());
    }
    // Writes values the way another run of the app would have stored them.
    void store(const QString& key, const QVariant& value) const {
        QSettings settings(storeFile(), QSettings::IniFormat);
        settings.setValue(key, value);
    }

    test::TestFolder folder;
};

QString describe(const AppSettings::KeyMap& keys) {
    QStringList pairs;
    for (const auto& [mode, key] : keys)
        pairs.append(WheelMode(mode).rawValue() + u':' + key.rawValue());
    return pairs.join(u' ');
}

} // namespace

TEST_F(AppSettingsTest, AFreshInstallAnswersTheDefaultsAndWritesNothing) {
    {
        const auto settings = load();
        EXPECT_EQ(describe(settings->keys()), "convert:shift tools:command actions:control");
        EXPECT_EQ(settings->mode(ModifierKey::shift), WheelMode::convert);
        EXPECT_EQ(settings->mode(ModifierKey::command), WheelMode::tools);
        EXPECT_EQ(settings->mode(ModifierKey::control), WheelMode::actions);
        EXPECT_EQ(settings->mode(ModifierKey::option), std::nullopt);
        EXPECT_EQ(settings->activation(), WheelActivation::toggle);
        EXPECT_TRUE(settings->writeNextToOriginal());
        EXPECT_EQ(settings->outputFolder(), std::nullopt);
        EXPECT_DOUBLE_EQ(settings->quality(), 0.85);
        EXPECT_TRUE(settings->playSound());
        EXPECT_EQ(settings->appearance(), AppearanceMode::system);
        EXPECT_FALSE(settings->hasSeenWelcome());
        EXPECT_FALSE(settings->launchAtLogin());

        // Setting a value to what it already is stores nothing either.
        settings->setQuality(0.85);
        settings->setPlaySound(true);
        settings->setOutputFolder(std::nullopt);
    }
    EXPECT_FALSE(QFileInfo::exists(storeFile()));
}

TEST_F(AppSettingsTest, AssignSwapsSoThatNoKeyOpensTwoWheels) {
    {
        const auto settings = load();
        QSignalSpy changed(settings.get(), &AppSettings::keysChanged);
        settings->assign(ModifierKey::command, WheelMode::convert);
        EXPECT_EQ(describe(settings->keys()), "convert:command tools:shift actions:control");
        EXPECT_EQ(changed.count(), 1);

        // A mode's own key changes nothing.
        settings->assign(ModifierKey::command, WheelMode::convert);
        EXPECT_EQ(describe(settings->keys()), "convert:command tools:shift actions:control");

        // A free key leaves the other modes alone and frees the mode's old key.
        settings->assign(ModifierKey::option, WheelMode::convert);
        EXPECT_EQ(describe(settings->keys()), "convert:option tools:shift actions:control");
        EXPECT_EQ(settings->mode(ModifierKey::command), std::nullopt);
        EXPECT_EQ(settings->mode(ModifierKey::option), WheelMode::convert);
    }
    EXPECT_EQ(describe(load()->keys()), "convert:option tools:shift actions:control");

    // From the defaults, the other case of the swap.
    QFile::remove(storeFile());
    const auto settings = load();
    settings->assign(ModifierKey::option, WheelMode::convert);
    EXPECT_EQ(describe(settings->keys()), "convert:option tools:command actions:control");
    EXPECT_EQ(settings->mode(ModifierKey::shift), std::nullopt);
}

TEST_F(AppSettingsTest, AStoredMapKeepsItsKnownPairsAndSkipsUnknownNames) {
    store("keys", QVariantMap{{"tools", "option"}, {"wheel", "shift"}, {"actions", "hyper"}});
    EXPECT_EQ(describe(load()->keys()), "convert:shift tools:option actions:control");

    // A binding that is not a string spoils the whole map.
    store("keys", QVariantMap{{"tools", "option"}, {"convert", 5}});
    EXPECT_EQ(describe(load()->keys()), "convert:shift tools:command actions:control");

    store("keys", QStringLiteral("option"));
    EXPECT_EQ(describe(load()->keys()), "convert:shift tools:command actions:control");
}

TEST_F(AppSettingsTest, KeysAreAHandEditableGroupOfModeToKeyLines) {
    QDir().mkpath(folder.path("config"));
    QFile file(storeFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[keys]\ntools=option\nwheel=shift\nactions=hyper\n");
    file.close();
    const auto settings = load();
    EXPECT_EQ(describe(settings->keys()), "convert:shift tools:option actions:control");

    settings->assign(ModifierKey::shift, WheelMode::actions);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.contains("[keys]\nactions=shift\nconvert=control\ntools=option\n"))
        << text.data();
    EXPECT_EQ(describe(load()->keys()), "convert:control tools:option actions:shift");
}

TEST_F(AppSettingsTest, EveryChangeIsStoredAtOnceAndAnnouncedOnce) {
    const auto settings = load();
    QSignalSpy activation(settings.get(), &AppSettings::activationChanged);
    QSignalSpy folderChanged(settings.get(), &AppSettings::outputFolderChanged);
    QSignalSpy quality(settings.get(), &AppSettings::qualityChanged);
    QSignalSpy appearance(settings.get(), &AppSettings::appearanceChanged);
    QSignalSpy nextToOriginal(settings.get(), &AppSettings::writeNextToOriginalChanged);
    QSignalSpy sound(settings.get(), &AppSettings::playSoundChanged);
    QSignalSpy welcome(settings.get(), &AppSettings::hasSeenWelcomeChanged);

    settings->setActivation(WheelActivation::hold);
    settings->setActivation(WheelActivation::hold);
    settings->setWriteNextToOriginal(false);
    settings->setOutputFolder(folder.folder("Ergebnisse"));
    settings->setQuality(0.6);
    settings->setQuality(7.0); // beyond the scale: the best there is
    settings->setPlaySound(false);
    settings->setAppearance(AppearanceMode::dark);
    settings->setHasSeenWelcome(true);
    EXPECT_EQ(activation.count(), 1);
    EXPECT_EQ(folderChanged.count(), 1);
    EXPECT_EQ(quality.count(), 2);
    EXPECT_EQ(appearance.count(), 1);
    EXPECT_EQ(nextToOriginal.count(), 1);
    EXPECT_EQ(sound.count(), 1);
    EXPECT_EQ(welcome.count(), 1);

    // Another instance reads the file itself, not this one's memory.
    QSettings raw(storeFile(), QSettings::IniFormat);
    EXPECT_EQ(raw.value("activation").toString(), "hold");
    EXPECT_EQ(raw.value("appearance").toString(), "dark");
    EXPECT_EQ(raw.value("outputFolder").toString(), folder.path("Ergebnisse"));
    EXPECT_EQ(raw.value("quality").toDouble(), 1.0);
    EXPECT_FALSE(raw.contains("keys"));

    auto reloaded = load();
    EXPECT_EQ(reloaded->activation(), WheelActivation::hold);
    EXPECT_FALSE(reloaded->writeNextToOriginal());
    EXPECT_EQ(reloaded->outputFolder(), folder.path("Ergebnisse"));
    EXPECT_DOUBLE_EQ(reloaded->quality(), 1.0);
    EXPECT_FALSE(reloaded->playSound());
    EXPECT_EQ(reloaded->appearance(), AppearanceMode::dark);
    EXPECT_TRUE(reloaded->hasSeenWelcome());

    // No folder removes the key rather than storing an empty path.
    reloaded->setOutputFolder(std::nullopt);
    raw.sync();
    EXPECT_FALSE(raw.contains("outputFolder"));
    EXPECT_EQ(load()->outputFolder(), std::nullopt);
}

TEST_F(AppSettingsTest, HandEditedGarbageFallsBackPerKeyAndKeepsTheRest) {
    QDir().mkpath(folder.path("config"));
    QFile file(storeFile());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[General]\n"
               "activation=hold, toggle\n"
               "quality=banana\n"
               "hasSeenWelcome=yes please\n"
               "keys=@Variant(\\0\\0\\0\\b\\xff\\xff\\xff\\xff)\n"
               "appearance=@Variant(\\0\\0\\0\n"
               "this line means nothing\n"
               "\x01\x02\xff\xfe=\x80\n"
               "=\n"
               "writeNextToOriginal=false\n"
               "playSound=False\n"
               "outputFolder=/srv/Ergebnisse\n"
               "totalConversions=12\n");
    file.close();

    {
        const auto settings = load();
        EXPECT_EQ(settings->activation(), WheelActivation::toggle);
        EXPECT_EQ(settings->appearance(), AppearanceMode::system);
        EXPECT_DOUBLE_EQ(settings->quality(), 0.85);
        EXPECT_FALSE(settings->hasSeenWelcome());
        EXPECT_EQ(describe(settings->keys()), "convert:shift tools:command actions:control");
        EXPECT_FALSE(settings->writeNextToOriginal());
        EXPECT_FALSE(settings->playSound());
        EXPECT_EQ(settings->outputFolder(), QStringLiteral("/srv/Ergebnisse"));

        // Changing one value must not lose the others that were readable.
        settings->setQuality(0.5);
    }
    const auto settings = load();
    EXPECT_DOUBLE_EQ(settings->quality(), 0.5);
    EXPECT_FALSE(settings->writeNextToOriginal());
    EXPECT_FALSE(settings->playSound());
    EXPECT_EQ(settings->outputFolder(), QStringLiteral("/srv/Ergebnisse"));
    EXPECT_EQ(QSettings(storeFile(), QSettings::IniFormat).value("totalConversions").toInt(), 12);
}

TEST_F(AppSettingsTest, AStoreThatCannotBeReadGivesDefaultsAndIsNotOverwritten) {
    // A folder where the file should be cannot be read by anyone, root included.
    folder.folder("config/Tramix.conf");
    {
        const auto settings = load();
        EXPECT_DOUBLE_EQ(settings->quality(), 0.85);
        settings->setQuality(0.3);
        EXPECT_DOUBLE_EQ(settings->quality(), 0.3);
    }
    EXPECT_TRUE(QFileInfo(storeFile()).isDir());

    if (::geteuid() == 0)
        return; // permissions do not keep root out
    QFile::remove(storeFile());
    QDir().rmdir(storeFile());
    store("hasSeenWelcome", true);
    QFile::setPermissions(storeFile(), QFileDevice::WriteOwner);
    {
        const auto settings = load();
        EXPECT_FALSE(settings->hasSeenWelcome());
        settings->setQuality(0.3);
    }
    QFile::setPermissions(storeFile(), QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    EXPECT_TRUE(load()->hasSeenWelcome());
}

TEST_F(AppSettingsTest, LaunchAtLoginFollowsTheAutostartEntryAndLogsFailures) {
    const auto settings = load();
    QSignalSpy changed(settings.get(), &AppSettings::launchAtLoginChanged);
    settings->setLaunchAtLogin(true);
    EXPECT_TRUE(settings->launchAtLogin());
    EXPECT_TRUE(QFileInfo::exists(folder.path("autostart/tramix.desktop")));
    EXPECT_TRUE(load()->launchAtLogin());
    settings->setLaunchAtLogin(false);
    EXPECT_FALSE(QFileInfo::exists(folder.path("autostart/tramix.desktop")));
    EXPECT_FALSE(load()->launchAtLogin());
    EXPECT_EQ(changed.count(), 2);

    // An autostart folder that cannot exist: the wish stays, the reason goes to the log.
    test::ScratchLog log(folder.path("state"));
    AppSettings blocked(storeFile(), LoginItem(folder.file("blocker") + "/autostart/tramix.desktop",
                                               QStringLiteral("/usr/bin/tramix")));
    blocked.setLaunchAtLogin(true);
    EXPECT_TRUE(blocked.launchAtLogin());
    const QStringList messages = log.messages();
    ASSERT_EQ(messages.size(), 1);
    EXPECT_TRUE(messages[0].startsWith("Tramix: launch at login failed: "))
        << messages[0].toStdString();
    EXPECT_TRUE(messages[0].contains("blocker")) << messages[0].toStdString();
}
