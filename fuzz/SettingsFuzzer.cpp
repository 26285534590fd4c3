// A settings file edited by hand, whatever it holds (the same bytes also stand as the autostart
// entry and the history's store): every value reads back within its range, no key opens two
// wheels, and storing one choice keeps every other value as it was read.
#include "FuzzCheck.h"
#include "Settings/AppSettings.h"
#include "Settings/History.h"

#include <QFile>
#include <QTemporaryDir>
#include <cmath>

using namespace tramix;

namespace {

struct Values {
    AppSettings::KeyMap keys;
    WheelActivation activation;
    bool writeNextToOriginal;
    std::optional<QString> outputFolder;
    double quality;
    bool playSound;
    AppearanceMode appearance;
    bool hasSeenWelcome;
    bool launchAtLogin;
    QByteArray geometry;

    bool operator==(const Values&) const = default;
};

Values read(const AppSettings& settings) {
    return {settings.keys(),
            settings.activation(),
            settings.writeNextToOriginal(),
            settings.outputFolder(),
            settings.quality(),
            settings.playSound(),
            settings.appearance(),
            settings.hasSeenWelcome(),
            settings.launchAtLogin(),
            settings.windowGeometry(QStringLiteral("pdfEditor"))};
}

void write(const QString& path, const uint8_t* data, size_t size) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QTemporaryDir folder;
    const QString store = folder.filePath(QStringLiteral("Tramix.conf"));
    const QString entry = folder.filePath(QStringLiteral("tramix.desktop"));
    write(store, data, size);
    write(entry, data, size);
    const QString context = fuzz::text(data, size);

    std::optional<Values> firstRead;
    {
        AppSettings settings(store, LoginItem(entry, QStringLiteral("/usr/bin/tramix")));
        firstRead = read(settings);
        const Values& before = *firstRead;
        FUZZ_CHECK(before.quality >= 0.0 && before.quality <= 1.0, context);
        FUZZ_CHECK(!before.outputFolder || !before.outputFolder->isEmpty(), context);
        for (const auto& [mode, key] : before.keys) {
            FUZZ_CHECK(settings.mode(key) == WheelMode(mode), context);
            FUZZ_CHECK(WheelActivation::fromRawValue(before.activation.rawValue()) ==
                           before.activation,
                       context);
        }
        settings.setHasSeenWelcome(!before.hasSeenWelcome);
    }
    const Values& before = *firstRead;
    AppSettings again(store, LoginItem(entry, QStringLiteral("/usr/bin/tramix")));
    Values after = read(again);
    FUZZ_CHECK(after.hasSeenWelcome != before.hasSeenWelcome, context);
    after.hasSeenWelcome = before.hasSeenWelcome;
    FUZZ_CHECK(after == before, context);

    write(store, data, size);
    const History history(store);
    FUZZ_CHECK(history.total() >= 0 && history.entries().isEmpty(), context);
    return 0;
}
