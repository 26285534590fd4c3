#include "CommandTable.h"

#include "Catalogue/Catalogue.h"
#include "WheelMode.h"

#include <algorithm>

namespace tramix::CommandTable {

namespace {

std::vector<CommandRow> table() {
    using enum CommandId;
    using enum ArgumentWords;
    constexpr bool optional = true;
    constexpr bool files = true;
    constexpr bool draws = true;
    // clang-format off
    return {
        {list, "--list", "<{modes}> <dateien…>",
            "Zeigt die Operationen, die zu allen Dateien passen: Kennung, Titel, Beschreibung.",
            modes, !optional, files},
        {run, "--run", "<operation-id> <dateien…>",
            "Führt eine Operation aus; die Ergebnisse landen neben den Dateien.",
            operations, !optional, files},
        {wheel, "--wheel", "<{modes}> <dateien…>",
            "Zeigt das Rad für die Dateien in der laufenden App; startet sie, wenn nötig.",
            modes, !optional, files},
        {renderWheel, "--render-wheel", "[{modes}] out.png [dark]",
            "Zeichnet das Rad für eine Beispieldatei als PNG.",
            modes, optional, files, draws},
        {renderIcon, "--render-icon", "out.png [pixel]",
            "Zeichnet das App-Symbol als PNG, mit 1024 px oder der angegebenen Größe.",
            none, !optional, files, draws},
        {renderEditor, "--render-editor", "<art> out.png dateien… [dark]",
            "Zeichnet einen Editor oder ein Rad für die Dateien als PNG.",
            arts, !optional, files, draws},
        {renderScene, "--render-scene", "out.png",
            "Zeichnet die Wiesen-Szene mit dem offenen Rad als PNG.",
            none, !optional, files, draws},
        {renderOg, "--render-og", "out.png",
            "Zeichnet die Social-Card (1200 × 630) als PNG.",
            none, !optional, files, draws},
        {renderShelf, "--render-shelf", "out.png [dark]",
            "Zeichnet die schwebende Ablage mit Beispieldateien als PNG.",
            none, !optional, files, draws},
        {renderMenubarIcon, "--render-menubar-icon", "out.png [pixel] [dark]",
            "Zeichnet das einfarbige Symbol für die Leiste als PNG, mit 44 px oder der angegebenen Größe.",
            none, !optional, files, draws},
        {renderMenu, "--render-menu", "out.png [dark]",
            "Zeichnet das Statusmenü mit Beispielzahlen als PNG.",
            none, !optional, files, draws},
        {renderDmgBackground, "--render-dmg-background", "out.png",
            "Zeichnet das Banner der Softwareseite als PNG.",
            none, !optional, files, draws},
        {renderWelcome, "--render-welcome", "out.png [dark]",
            "Zeichnet das Willkommensfenster als PNG.",
            none, !optional, files, draws},
        {renderSettings, "--render-settings", "out.png [dark]",
            "Zeichnet das Fenster der Einstellungen als PNG.",
            none, !optional, files, draws},
        {installIntegration, "--install-integration", "",
            "Trägt Tramix in die Kontextmenüs von Nautilus, Dolphin, Nemo und Thunar ein."},
        {removeIntegration, "--remove-integration", "",
            "Nimmt die Einträge von Tramix aus den Kontextmenüs der Dateimanager."},
        {help, "--help", "", "Zeigt diese Hilfe."},
        {version, "--version", "", "Zeigt die Version."},
    };
    // clang-format on
}

} // namespace

const std::vector<CommandRow>& rows() {
    static const std::vector<CommandRow> all = table();
    return all;
}

const CommandRow* find(QStringView name) {
    const auto& all = rows();
    const auto found = std::find_if(all.begin(), all.end(), [&](const CommandRow& row) {
        return name == QLatin1StringView(row.name);
    });
    return found == all.end() ? nullptr : &*found;
}

const CommandRow& row(CommandId id) {
    const auto& all = rows();
    return *std::find_if(all.begin(), all.end(), [&](const CommandRow& r) { return r.id == id; });
}

QString usage(const CommandRow& row) {
    QString arguments = QString::fromUtf8(row.arguments);
    arguments.replace(QStringLiteral("{modes}"), modeWords().join(u'|'));
    const QString name = QString::fromLatin1(row.name);
    return arguments.isEmpty() ? name : name + u' ' + arguments;
}

QString usage(CommandId id) {
    return usage(row(id));
}

QStringList modeWords() {
    QStringList words;
    for (WheelMode mode : WheelMode::allCases())
        words.append(mode.rawValue());
    return words;
}

QStringList editorArts() {
    QStringList arts = {QStringLiteral("crop"), QStringLiteral("backdrop"),
                        QStringLiteral("pdf-split"), QStringLiteral("pdf-merge")};
    for (const QString& mode : modeWords())
        arts.append(mode + QStringLiteral("-wheel"));
    return arts;
}

QStringList runnableOperationIds() {
    QStringList ids;
    for (const CatalogueRow& row : Catalogue::rows()) {
        const QString id = QString::fromLatin1(row.id);
        if (!row.work.handler && !ids.contains(id))
            ids.append(id);
    }
    return ids;
}

QStringList words(ArgumentWords kind) {
    switch (kind) {
    case ArgumentWords::none:
        return {};
    case ArgumentWords::modes:
        return modeWords();
    case ArgumentWords::operations:
        return runnableOperationIds();
    case ArgumentWords::arts:
        return editorArts();
    }
    Q_UNREACHABLE();
}

bool firstTakesFiles(const CommandRow& row) {
    return row.wordsOptional || (row.words == ArgumentWords::none && row.files);
}

} // namespace tramix::CommandTable
