#include "AppSettings.h"

#include "DebugLog.h"

#include <QVariantMap>
#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace tramix {

namespace {

// The store answers absent keys with these; they are never written just for being defaults.
constexpr bool defaultWriteNextToOriginal = true;
constexpr double defaultQuality = 0.85;
constexpr bool defaultPlaySound = true;

bool isString(const QVariant& value) {
    return value.typeId() == QMetaType::QString;
}

// Hand-edited or damaged values fall back to `fallback` instead of being guessed at.
bool readBool(const QVariant& value, bool fallback) {
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    if (!isString(value))
        return fallback;
    const QString text = value.toString().trimmed();
    if (text.compare(u"true", Qt::CaseInsensitive) == 0)
        return true;
    if (text.compare(u"false", Qt::CaseInsensitive) == 0)
        return false;
    return fallback;
}

double readQuality(const QVariant& value, double fallback) {
    const int type = value.typeId();
    if (type != QMetaType::Double && type != QMetaType::Float && type != QMetaType::Int &&
        type != QMetaType::LongLong && !isString(value))
        return fallback;
    bool ok = false;
    const double quality = value.toDouble(&ok);
    return ok && quality >= 0.0 && quality <= 1.0 ? quality : fallback;
}

QString readString(const QVariant& value) {
    return isString(value) ? value.toString() : QString();
}

// The map lives in a [keys] group, one "mode=key" line each, so it stays editable by hand; an
// older @Variant map under the same name reads too. It counts only when every binding in it is a
// string; unknown names are then skipped one pair at a time.
QVariantMap storedKeys(QSettings& store) {
    if (!store.childGroups().contains(QStringLiteral("keys")))
        return store.value(QStringLiteral("keys")).toMap();
    QVariantMap stored;
    store.beginGroup(QStringLiteral("keys"));
    for (const QString& name : store.childKeys())
        stored.insert(name, store.value(name));
    store.endGroup();
    return stored;
}

// A hand edit may give one key to two wheels, or another wheel's default key to a wheel: the
// stored bindings come first in wheel order, then the defaults, and a wheel left without its key
// takes a default key that no wheel holds, as `assign` would swap them; no key opens two wheels.
AppSettings::KeyMap readKeys(QSettings& store) {
    const AppSettings::KeyMap defaults = AppSettings::defaultKeys();
    const QVariantMap stored = storedKeys(store);
    for (const QVariant& binding : stored) {
        if (!isString(binding))
            return defaults;
    }
    AppSettings::KeyMap wanted;
    for (auto it = stored.cbegin(); it != stored.cend(); ++it) {
        const std::optional<WheelMode> mode = WheelMode::fromRawValue(it.key());
        const std::optional<ModifierKey> key = ModifierKey::fromRawValue(it.value().toString());
        if (mode && key)
            wanted.insert_or_assign(*mode, *key);
    }
    AppSettings::KeyMap keys;
    auto bindIfFree = [&keys](WheelMode mode, ModifierKey key) {
        const bool taken = std::any_of(
            keys.begin(), keys.end(), [key](const auto& binding) { return binding.second == key; });
        if (!taken && !keys.contains(mode))
            keys.insert({mode, key});
    };
    for (const AppSettings::KeyMap* source :
         std::array<const AppSettings::KeyMap*, 2>{&wanted, &defaults}) {
        for (WheelMode mode : WheelMode::allCases()) {
            if (const auto binding = source->find(mode); binding != source->end())
                bindIfFree(mode, binding->second);
        }
    }
    for (WheelMode mode : WheelMode::allCases()) {
        for (const auto& binding : defaults)
            bindIfFree(mode, binding.second);
    }
    return keys;
}

} // namespace

AppSettings::AppSettings(QObject* parent)
    : AppSettings(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                              QStringLiteral("Tramix"), QStringLiteral("Tramix")),
                  LoginItem::standard(), parent) {}

AppSettings::AppSettings(const QString& storeFile, LoginItem loginItem, QObject* parent)
    : AppSettings(std::make_unique<QSettings>(storeFile, QSettings::IniFormat),
                  std::move(loginItem), parent) {}

AppSettings::AppSettings(std::unique_ptr<QSettings> store, LoginItem loginItem, QObject* parent)
    : QObject(parent)
    , store_(std::move(store))
    , loginItem_(std::move(loginItem)) {
    load();
}

AppSettings::~AppSettings() = default;

AppSettings& AppSettings::shared() {
    static AppSettings instance;
    return instance;
}

AppSettings::KeyMap AppSettings::defaultKeys() {
    return {{WheelMode::convert, ModifierKey::shift},
            {WheelMode::tools, ModifierKey::command},
            {WheelMode::actions, ModifierKey::control}};
}

void AppSettings::load() {
    keys_ = readKeys(*store_);
    activation_ = readString(store_->value(QStringLiteral("activation"))) == u"hold"
                      ? WheelActivation::hold
                      : WheelActivation::toggle;
    writeNextToOriginal_ =
        readBool(store_->value(QStringLiteral("writeNextToOriginal")), defaultWriteNextToOriginal);
    const QString folder = readString(store_->value(QStringLiteral("outputFolder")));
    outputFolder_ = folder.isEmpty() ? std::nullopt : std::optional<QString>(folder);
    quality_ = readQuality(store_->value(QStringLiteral("quality")), defaultQuality);
    playSound_ = readBool(store_->value(QStringLiteral("playSound")), defaultPlaySound);
    appearance_ =
        AppearanceMode::fromRawValue(readString(store_->value(QStringLiteral("appearance"))))
            .value_or(AppearanceMode::system);
    hasSeenWelcome_ = readBool(store_->value(QStringLiteral("hasSeenWelcome")), false);
    launchAtLogin_ = loginItem_.isEnabled();
}

void AppSettings::store(const QString& key, const QVariant& value) {
    if (value.isValid())
        store_->setValue(key, value);
    else
        store_->remove(key);
    // Written at once, so a crash or a kill never loses a choice the user made.
    store_->sync();
}

std::optional<WheelMode> AppSettings::mode(ModifierKey key) const {
    for (WheelMode mode : WheelMode::allCases()) {
        const auto binding = keys_.find(mode);
        if (binding != keys_.end() && binding->second == key)
            return mode;
    }
    return std::nullopt;
}

void AppSettings::assign(ModifierKey key, WheelMode mode) {
    const auto current = keys_.find(mode);
    const std::optional<ModifierKey> previous =
        current == keys_.end() ? std::nullopt : std::optional<ModifierKey>(current->second);
    for (WheelMode other : WheelMode::allCases()) {
        const auto binding = keys_.find(other);
        if (other == mode || binding == keys_.end() || binding->second != key)
            continue;
        if (previous)
            binding->second = *previous;
        else
            keys_.erase(binding);
        break;
    }
    keys_.insert_or_assign(mode, key);
    Q_EMIT keysChanged();
    saveKeys();
}

void AppSettings::saveKeys() {
    store_->remove(QStringLiteral("keys"));
    store_->beginGroup(QStringLiteral("keys"));
    for (const auto& [mode, key] : keys_)
        store_->setValue(WheelMode(mode).rawValue(), key.rawValue());
    store_->endGroup();
    store_->sync();
}

void AppSettings::setActivation(WheelActivation activation) {
    if (activation == activation_)
        return;
    activation_ = activation;
    store(QStringLiteral("activation"), activation.rawValue());
    Q_EMIT activationChanged();
}

void AppSettings::setWriteNextToOriginal(bool value) {
    if (value == writeNextToOriginal_)
        return;
    writeNextToOriginal_ = value;
    store(QStringLiteral("writeNextToOriginal"), value);
    Q_EMIT writeNextToOriginalChanged();
}

void AppSettings::setOutputFolder(const std::optional<QString>& folder) {
    const std::optional<QString> wanted =
        folder && !folder->isEmpty() ? folder : std::optional<QString>();
    if (wanted == outputFolder_)
        return;
    outputFolder_ = wanted;
    store(QStringLiteral("outputFolder"), wanted ? QVariant(*wanted) : QVariant());
    Q_EMIT outputFolderChanged();
}

void AppSettings::setQuality(double quality) {
    if (std::isnan(quality))
        return;
    quality = std::clamp(quality, 0.0, 1.0);
    if (quality == quality_)
        return;
    quality_ = quality;
    store(QStringLiteral("quality"), quality);
    Q_EMIT qualityChanged();
}

void AppSettings::setPlaySound(bool value) {
    if (value == playSound_)
        return;
    playSound_ = value;
    store(QStringLiteral("playSound"), value);
    Q_EMIT playSoundChanged();
}

void AppSettings::setAppearance(AppearanceMode mode) {
    if (mode == appearance_)
        return;
    appearance_ = mode;
    store(QStringLiteral("appearance"), mode.rawValue());
    mode.apply();
    Q_EMIT appearanceChanged();
}

void AppSettings::setHasSeenWelcome(bool value) {
    if (value == hasSeenWelcome_)
        return;
    hasSeenWelcome_ = value;
    store(QStringLiteral("hasSeenWelcome"), value);
    Q_EMIT hasSeenWelcomeChanged();
}

QByteArray AppSettings::windowGeometry(const QString& window) const {
    const QVariant stored = store_->value(QStringLiteral("windows/") + window);
    return stored.typeId() == QMetaType::QByteArray ? stored.toByteArray() : QByteArray();
}

void AppSettings::setWindowGeometry(const QString& window, const QByteArray& geometry) {
    store(QStringLiteral("windows/") + window, geometry.isEmpty() ? QVariant() : geometry);
}

void AppSettings::setLaunchAtLogin(bool value) {
    if (value != launchAtLogin_) {
        launchAtLogin_ = value;
        Q_EMIT launchAtLoginChanged();
    }
    if (loginItem_.isEnabled() == value)
        return;
    try {
        loginItem_.setEnabled(value);
    } catch (const std::exception& error) {
        DebugLog::write(QStringLiteral("Tramix: launch at login failed: %1")
                            .arg(QString::fromStdString(error.what())));
    }
}

} // namespace tramix
