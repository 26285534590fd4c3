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

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void appendFile(const QString& path, const QByteArray& text) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append)) << path.toStdString();
    file.write(text);
}

class AppSettingsTest : public ::testing::Test {
protected:
    QString storeFile() const { return folder.path("config/Tramix.conf"); }
    QString autostartEntry() const { return folder.path("autostart/tramix.desktop"); }
    std::unique_ptr<AppSettings> load() const {
        return std::make_unique<AppSettings>(
            storeFile(), LoginItem(autostartEntry(), QStringLiteral("/opt/My Apps/tramix")));
    }
    // Writes values the way another run of the app would have stored them.
    void store(const QString& key, const QVariant& value) const {
        QSettings(storeFile(), QSettings::IniFormat).setValue(key, value);
    }
    // Writes the store as someone would by hand.
    void writeByHand(const QByteArray& text) const {
        QDir().mkpath(folder.path("config"));
        QFile::remove(storeFile());
        appendFile(storeFile(), text);
    }

    test::TestFolder folder;
};

QString describe(const AppSettings::KeyMap& keys) {
    QStringList pairs;
    for (const auto& [mode, key] : keys)
        pairs.append(WheelMode(mode).rawValue() + u':' + key.rawValue());
    return pairs.join(u' ');
}

const QString defaultKeys = "convert:shift tools:command actions:control";

} // namespace

TEST_F(AppSettingsTest, AFreshInstallAnswersTheDefaultsAndWritesNothing) {
    {
        const auto settings = load();
        EXPECT_EQ(describe(settings->keys()), defaultKeys);
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

TEST_F(AppSettingsTest, KeysAreAHandEditableGroupWhoseUnknownNamesAreSkipped) {
    writeByHand("[keys]\ntools=option\nwheel=shift\nactions=hyper\n");
    const auto settings = load();
    EXPECT_EQ(describe(settings->keys()), "convert:shift tools:option actions:control");
    settings->assign(ModifierKey::shift, WheelMode::actions);
    const QByteArray text = readFile(storeFile());
    EXPECT_TRUE(text.contains("[keys]\nactions=shift\nconvert=control\ntools=option\n"))
        << text.data();
    EXPECT_EQ(describe(load()->keys()), "convert:control tools:option actions:shift");

    // A key written for two wheels, or taking another wheel's default, still opens one wheel.
    writeByHand("[keys]\ntools=control\nconvert=control\n");
    EXPECT_EQ(describe(load()->keys()), "convert:control tools:command actions:shift");
    writeByHand("[keys]\nactions=shift\n");
    EXPECT_EQ(describe(load()->keys()), "convert:control tools:command actions:shift");

    // An older run's map in one value reads too, but a binding that is not a string spoils it.
    QFile::remove(storeFile());
    store("keys", QVariantMap{{"tools", "option"}, {"wheel", "shift"}});
    EXPECT_EQ(describe(load()->keys()), "convert:shift tools:option actions:control");
    store("keys", QVariantMap{{"tools", "option"}, {"convert", 5}});
    EXPECT_EQ(describe(load()->keys()), defaultKeys);
    store("keys", QStringLiteral("option"));
    EXPECT_EQ(describe(load()->keys()), defaultKeys);
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
    for (const QSignalSpy* spy :
         {&activation, &folderChanged, &appearance, &nextToOriginal, &sound, &welcome})
        EXPECT_EQ(spy->count(), 1) << spy->signal().data();
    EXPECT_EQ(quality.count(), 2);

    // Another instance reads the file itself, not this one's memory.
    auto reloaded = load();
    EXPECT_EQ(reloaded->activation(), WheelActivation::hold);
    EXPECT_FALSE(reloaded->writeNextToOriginal());
    EXPECT_EQ(reloaded->outputFolder(), folder.path("Ergebnisse"));
    EXPECT_DOUBLE_EQ(reloaded->quality(), 1.0);
    EXPECT_FALSE(reloaded->playSound());
    EXPECT_EQ(reloaded->appearance(), AppearanceMode::dark);
    EXPECT_TRUE(reloaded->hasSeenWelcome());
    for (AppearanceMode mode : AppearanceMode::allCases()) {
        reloaded->setAppearance(mode);
        EXPECT_EQ(load()->appearance(), mode) << mode.rawValue().toStdString();
    }

    // Keys never changed are not written, and no folder removes the key rather than storing an
    // empty path.
    reloaded->setOutputFolder(std::nullopt);
    const QSettings raw(storeFile(), QSettings::IniFormat);
    EXPECT_FALSE(raw.contains("keys"));
    EXPECT_FALSE(raw.contains("outputFolder"));
    EXPECT_EQ(load()->outputFolder(), std::nullopt);
}

TEST_F(AppSettingsTest, HandEditedGarbageFallsBackPerKeyAndKeepsTheRest) {
    writeByHand("[General]\n"
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
    {
        const auto settings = load();
        EXPECT_EQ(settings->activation(), WheelActivation::toggle);
        EXPECT_EQ(settings->appearance(), AppearanceMode::system);
        EXPECT_DOUBLE_EQ(settings->quality(), 0.85);
        EXPECT_FALSE(settings->hasSeenWelcome());
        EXPECT_EQ(describe(settings->keys()), defaultKeys);
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

TEST_F(AppSettingsTest, LaunchAtLoginWritesAStartableEntryAndHonoursTheDesktopsSwitch) {
    const auto settings = load();
    QSignalSpy changed(settings.get(), &AppSettings::launchAtLoginChanged);
    settings->setLaunchAtLogin(true);
    const QByteArray text = readFile(autostartEntry());
    EXPECT_TRUE(text.startsWith("[Desktop Entry]\n"));
    EXPECT_TRUE(text.contains("\nType=Application\n"));
    EXPECT_TRUE(text.contains("\nExec=\"/opt/My Apps/tramix\"\n")) << text.toStdString();
    EXPECT_TRUE(load()->launchAtLogin());

    // The desktop's own switch for autostart entries turns it off without removing it.
    appendFile(autostartEntry(), "Hidden=true\n");
    EXPECT_FALSE(load()->launchAtLogin());
    load()->setLaunchAtLogin(true);
    EXPECT_TRUE(load()->launchAtLogin());

    settings->setLaunchAtLogin(false);
    EXPECT_FALSE(QFileInfo::exists(autostartEntry()));
    EXPECT_FALSE(load()->launchAtLogin());
    EXPECT_EQ(changed.count(), 2);
}

TEST_F(AppSettingsTest, AnAutostartEntryThatCannotBeWrittenKeepsTheWishAndLogsWhy) {
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
