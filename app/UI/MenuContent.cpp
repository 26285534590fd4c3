#include "MenuContent.h"

#include "Settings/AppSettings.h"
#include "Settings/History.h"

namespace tramix {

namespace {

QString pick(bool german, const char* de, const char* en) {
    return QString::fromUtf8(german ? de : en);
}

QString modeExamples(WheelMode mode, bool german) {
    switch (mode) {
    case WheelMode::convert:
        return QStringLiteral("JPG, PDF, MP4, XLSX …");
    case WheelMode::tools:
        return pick(german, "Zuschneiden, PDF teilen …", "Crop, split PDF …");
    case WheelMode::actions:
        return pick(german, "Teilen, ZIP, Pfad …", "Share, ZIP, path …");
    }
    return {};
}

} // namespace

MenuContent MenuContent::make(const AppSettings& settings, const History& history, bool german) {
    MenuContent content;
    content.tagline = pick(german, "Offline-Dateikonverter", "Offline file converter");
    content.settingsLabel = pick(german, "Einstellungen", "Settings");
    const bool toggle = settings.activation() == WheelActivation::toggle;
    if (german) {
        content.hint = QStringLiteral("Datei ziehen, Taste ") +
                       (toggle ? QStringLiteral("antippen") : QStringLiteral("halten")) +
                       QStringLiteral(", loslassen.");
    } else {
        content.hint = QStringLiteral("Drag a file, ") +
                       (toggle ? QStringLiteral("tap") : QStringLiteral("hold")) +
                       QStringLiteral(" a key, let go.");
    }
    if (toggle)
        content.hintDetail =
            pick(german,
                 "Datei ziehen, Taste einmal drücken: Das Rad bleibt offen, bis du die Datei "
                 "loslässt oder die Taste noch einmal drückst.",
                 "Drag a file and press a key once: the wheel stays open until you let go of "
                 "the file or press the key again.");
    for (WheelMode mode : WheelMode::allCases()) {
        ModeRow row{mode, std::nullopt, QStringLiteral("–"),
                    mode.title(german ? Language::german : Language::english),
                    modeExamples(mode, german)};
        if (const auto key = settings.keys().find(mode); key != settings.keys().end()) {
            row.key = key->second;
            row.keyName = key->second.name(german);
        }
        content.modes.append(row);
    }
    content.total = history.total();
    content.totalLabel = pick(german, "Dateien erstellt", "files created");
    content.localLabel = pick(german, "lokal, ohne Upload", "local, no upload");
    content.recentHeading = pick(german, "ZULETZT", "RECENT");
    content.noRecentJobs = pick(german, "Noch nichts konvertiert", "Nothing converted yet");
    for (const History::Entry& entry : history.entries())
        content.recent.append({entry.title, entry.outputs, entry.failed});
    content.dropLabel = pick(german, "Dateien hier ablegen", "Drop files here");
    content.dropHelp =
        pick(german, "Schwebende Ablage öffnen: Dateien parken und später herausziehen",
             "Open the floating shelf: park files and drag them out later");
    content.guideLabel = pick(german, "Anleitung", "Guide");
    content.quitLabel = pick(german, "Beenden", "Quit");
    return content;
}

} // namespace tramix
