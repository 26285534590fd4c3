#include "Integration.h"

#include "DolphinIntegration.h"
#include "MenuEntries.h"
#include "NautilusIntegration.h"
#include "NemoIntegration.h"
#include "ThunarIntegration.h"

#include <QDir>

namespace tramix::Integration {

QStringList install(const IntegrationFiles::Setup& setup) {
    const std::vector<MenuEntries::MenuEntry> entries = MenuEntries::all();
    const auto nautilus = NautilusIntegration::files(setup, entries);
    const auto dolphin = DolphinIntegration::files(setup, entries);
    const auto nemo = NemoIntegration::files(setup, entries);
    // Every refusal comes before the first change, so a refusal leaves the home as it was.
    IntegrationFiles::checkOwnership(nautilus + dolphin + nemo);
    ThunarIntegration::check(setup);

    // Entries the catalogue no longer has, or the other kind of Nautilus integration, go first.
    NautilusIntegration::remove(setup);
    DolphinIntegration::remove(setup);
    NemoIntegration::remove(setup);
    IntegrationFiles::write(nautilus + dolphin + nemo);
    ThunarIntegration::install(setup, entries);

    const auto native = [](const QString& path) { return QDir::toNativeSeparators(path); };
    return {
        QStringLiteral("Nautilus: %1")
            .arg(setup.nautilusPython ? native(NautilusIntegration::extensionPath(setup))
                                      : native(NautilusIntegration::scriptsFolder(setup))),
        QStringLiteral("Dolphin: %1 (%2 Dienstmenüs)")
            .arg(native(DolphinIntegration::folder(setup)))
            .arg(dolphin.size()),
        QStringLiteral("Nemo: %1 (%2 Aktionen)")
            .arg(native(NemoIntegration::folder(setup)))
            .arg(nemo.size()),
        QStringLiteral("Thunar: %1").arg(native(ThunarIntegration::actionsPath(setup))),
    };
}

QStringList remove(const IntegrationFiles::Setup& setup) {
    ThunarIntegration::check(setup);
    NautilusIntegration::remove(setup);
    DolphinIntegration::remove(setup);
    NemoIntegration::remove(setup);
    ThunarIntegration::remove(setup);
    return {QStringLiteral("Die Einträge von Tramix sind aus den Menüs von Nautilus, Dolphin, "
                           "Nemo und Thunar entfernt.")};
}

} // namespace tramix::Integration
