// Every preference of the app, stored the moment it changes; views repaint from its signals.
#pragma once

#include "AppearanceMode.h"
#include "LoginItem.h"
#include "ModifierKey.h"
#include "WheelActivation.h"
#include "WheelMode.h"

#include <QObject>
#include <QSettings>
#include <map>
#include <memory>
#include <optional>

namespace tramix {

class AppSettings : public QObject {
    Q_OBJECT
public:
    using KeyMap = std::map<WheelMode::Value, ModifierKey>;

    // The user's own store (QSettings "Tramix"/"Tramix") and autostart entry.
    explicit AppSettings(QObject* parent = nullptr);
    // A store in the INI file `storeFile` and the given autostart entry.
    AppSettings(const QString& storeFile, LoginItem loginItem, QObject* parent = nullptr);
    ~AppSettings() override;

    // The app's one instance, made on first use; main thread only.
    static AppSettings& shared();

    static KeyMap defaultKeys();

    // Which modifier key opens each wheel; a mode missing from the map has no key.
    const KeyMap& keys() const { return keys_; }
    // The first mode, in wheel order, that `key` opens.
    std::optional<WheelMode> mode(ModifierKey key) const;
    // Binds `key` to `mode`; a mode that had `key` before gets `mode`'s old key, so no key ever
    // opens two wheels.
    void assign(ModifierKey key, WheelMode mode);

    WheelActivation activation() const { return activation_; }
    void setActivation(WheelActivation activation);

    bool writeNextToOriginal() const { return writeNextToOriginal_; }
    void setWriteNextToOriginal(bool value);

    // The folder that collects all results when they are not written beside their originals.
    const std::optional<QString>& outputFolder() const { return outputFolder_; }
    void setOutputFolder(const std::optional<QString>& folder);

    // Quality of lossy results, 0 to 1.
    double quality() const { return quality_; }
    void setQuality(double quality);

    bool playSound() const { return playSound_; }
    void setPlaySound(bool value);

    // Setting it also gives the running app the mode's palette.
    AppearanceMode appearance() const { return appearance_; }
    void setAppearance(AppearanceMode mode);

    bool hasSeenWelcome() const { return hasSeenWelcome_; }
    void setHasSeenWelcome(bool value);

    // Mirrors the autostart entry. When writing the entry fails, the wish is kept here and the
    // failure goes to the debug log.
    bool launchAtLogin() const { return launchAtLogin_; }
    void setLaunchAtLogin(bool value);

    // Where the window named `window` stood when it was last closed, as QWidget::saveGeometry
    // gives it; empty before that.
    QByteArray windowGeometry(const QString& window) const;
    void setWindowGeometry(const QString& window, const QByteArray& geometry);

Q_SIGNALS:
    void keysChanged();
    void activationChanged();
    void writeNextToOriginalChanged();
    void outputFolderChanged();
    void qualityChanged();
    void playSoundChanged();
    void appearanceChanged();
    void hasSeenWelcomeChanged();
    void launchAtLoginChanged();

private:
    AppSettings(std::unique_ptr<QSettings> store, LoginItem loginItem, QObject* parent);
    void load();
    void saveKeys();
    void store(const QString& key, const QVariant& value);

    std::unique_ptr<QSettings> store_;
    LoginItem loginItem_;
    KeyMap keys_;
    WheelActivation activation_ = WheelActivation::toggle;
    bool writeNextToOriginal_ = true;
    std::optional<QString> outputFolder_;
    double quality_ = 0.85;
    bool playSound_ = true;
    AppearanceMode appearance_ = AppearanceMode::system;
    bool hasSeenWelcome_ = false;
    bool launchAtLogin_ = false;
};

} // namespace tramix
