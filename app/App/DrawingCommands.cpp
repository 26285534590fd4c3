#include "DrawingCommands.h"

#include "CLI.h"
#include "Catalogue/OperationRegistry.h"
#include "CommandTable.h"
#include "ConversionError.h"
#include "Design/AppIcon.h"
#include "Design/TrayIcon.h"
#include "Drag/WheelModel.h"
#include "Drag/WheelView.h"
#include "Editors/EditorRendering.h"
#include "Editors/EditorWindows.h"
#include "Screens/Artwork.h"
#include "Screens/DemoWheel.h"
#include "Screens/Permissions.h"
#include "Screens/SettingsView.h"
#include "Screens/WelcomeView.h"
#include "Settings/AppSettings.h"
#include "Settings/History.h"
#include "Settings/UILanguage.h"
#include "Shelf/ShelfSamples.h"
#include "Shelf/ShelfView.h"
#include "UI/MenuView.h"

#include <QApplication>
#include <QHash>
#include <QPainter>
#include <QSaveFile>
#include <QTemporaryDir>
#include <functional>

namespace tramix::DrawingCommands {

namespace {

using Command = std::function<void(const QStringList& args, QTextStream& out)>;
using CLI::filePaths;

[[noreturn]] void fail(const QString& message) {
    throw ConversionError::failed(message);
}

void writeImage(const QImage& image, const QString& output) {
    if (image.isNull())
        fail(QStringLiteral("Rendern fehlgeschlagen."));
    QSaveFile file(output);
    if (!file.open(QIODevice::WriteOnly) || !image.save(&file, "PNG") || !file.commit())
        fail(QStringLiteral("„%1“ konnte nicht geschrieben werden.").arg(output));
}

const QString& outputPath(const QStringList& args) {
    if (args.size() < 2 || args[1].isEmpty())
        fail(QStringLiteral("Ausgabepfad fehlt."));
    return args[1];
}

// The scheme of a screen rendering is its last argument: "dark", or light for anything else.
bool schemeIsDark(const QStringList& args) {
    return args.size() > 2 && args.last() == u"dark";
}

Command renderArtwork(QImage (*draw)()) {
    return [draw](const QStringList& args, QTextStream&) { writeImage(draw(), outputPath(args)); };
}

// The edge in pixels an icon rendering is asked for after its output path, else `fallback`.
int iconPixels(const QStringList& args, int fallback) {
    constexpr int smallest = 8;
    constexpr int largest = 4096;
    if (args.size() < 3 || args[2] == u"dark")
        return fallback;
    bool ok = false;
    const int pixels = args[2].toInt(&ok);
    if (!ok || pixels < smallest || pixels > largest)
        fail(QStringLiteral("Die Größe „%1“ ist keine Zahl von %2 bis %3 Pixeln.")
                 .arg(args[2])
                 .arg(smallest)
                 .arg(largest));
    return pixels;
}

void renderIcon(const QStringList& args, QTextStream&) {
    constexpr int storeSize = 1024;
    const QString& output = outputPath(args);
    writeImage(appIconImage(iconPixels(args, storeSize)), output);
}

// The panel's mark in the text colour of a light panel, or of a dark one.
void renderMenubarIcon(const QStringList& args, QTextStream&) {
    constexpr int doubleDensityPanel = 44;
    const QString& output = outputPath(args);
    const AppearanceMode scheme = schemeIsDark(args) ? AppearanceMode::dark : AppearanceMode::light;
    const QColor colour = trayIconColour(scheme.palette(QApplication::palette()));
    writeImage(trayIconImage(iconPixels(args, doubleDensityPanel), colour), output);
}

// Settings and history as on a fresh install, in a folder of their own: the renderings never read
// or change the user's.
struct SampleStores {
    QTemporaryDir scratch;
    AppSettings settings{
        scratch.filePath(QStringLiteral("settings.ini")),
        LoginItem(scratch.filePath(QStringLiteral("tramix.desktop")), QStringLiteral("tramix"))};
    History history{scratch.filePath(QStringLiteral("history.ini"))};
};

// The menu as a user sees it after a while of use, in the interface language.
MenuContent sampleMenu() {
    const SampleStores stores;
    MenuContent content = MenuContent::make(stores.settings, stores.history, UILanguage::german());
    content.total = 1284;
    content.recent = {
        {QStringLiteral("PNG"), {}, false},
        {UILanguage::text(QStringLiteral("Komprimieren"), QStringLiteral("Compress")), {}, false},
        {UILanguage::text(QStringLiteral("PDF teilen"), QStringLiteral("Split PDF")), {}, true},
        {QStringLiteral("JPG"), {}, false}};
    return content;
}

void renderMenu(const QStringList& args, QTextStream&) {
    const QString& output = outputPath(args);
    writeImage(MenuView::render(sampleMenu(), schemeIsDark(args)), output);
}

// A window as it stands on screen, without the desktop's frame, at twice its size.
QImage renderWindow(QWidget& window) {
    constexpr double scale = 2;
    window.setAttribute(Qt::WA_DontShowOnScreen);
    window.show();
    QImage image(window.size() * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    window.render(&painter);
    painter.end();
    window.hide();
    return image;
}

// The screens are drawn for a session where drags are seen, as on the desktops they are made for.
DragSession readySession() {
    return {DragSession::Kind::x11, true, true};
}

void renderWelcome(const QStringList& args, QTextStream&) {
    const QString& output = outputPath(args);
    SampleStores stores;
    stores.settings.setAppearance(schemeIsDark(args) ? AppearanceMode::dark
                                                     : AppearanceMode::light);
    Permissions permissions(readySession);
    WelcomeView welcome(stores.settings, permissions);
    // The file rests on the second format, so the centre shows what a segment does.
    welcome.demo().freeze(1);
    writeImage(renderWindow(welcome), output);
}

void renderSettings(const QStringList& args, QTextStream&) {
    const QString& output = outputPath(args);
    SampleStores stores;
    stores.settings.setAppearance(schemeIsDark(args) ? AppearanceMode::dark
                                                     : AppearanceMode::light);
    Permissions permissions(readySession);
    SettingsView settings(stores.settings, permissions);
    writeImage(renderWindow(settings), output);
}

// The shelf with a few parked files made for the picture in a scratch folder, one of them gone
// since; nothing of the user's own shelf is read.
void renderShelf(const QStringList& args, QTextStream&) {
    const QString& output = outputPath(args);
    const QTemporaryDir scratch;
    const QList<ShelfView::Row> rows =
        scratch.isValid() ? ShelfSamples::rows(scratch.path()) : QList<ShelfView::Row>();
    if (rows.isEmpty())
        fail(QStringLiteral("Rendern fehlgeschlagen."));
    writeImage(ShelfView::render(rows, schemeIsDark(args)), output);
}

bool wantsDark(const QStringList& args) {
    return args.contains(QStringLiteral("dark"));
}

void writeWheel(WheelMode mode, const QStringList& paths, const QString& output, bool dark) {
    static const QHash<int, ModifierKey> keys = {{WheelMode::convert, ModifierKey::shift},
                                                 {WheelMode::tools, ModifierKey::command},
                                                 {WheelMode::actions, ModifierKey::control}};
    WheelModel model;
    model.setMode(mode);
    model.setKey(keys.value(mode, ModifierKey::shift));
    QList<FileOperation> operations =
        OperationRegistry::operations(mode, paths, nullptr, UILanguage::current());
    if (mode == WheelMode::tools)
        operations = EditorWindows::shared().tools(paths, std::move(operations));
    model.setOperations(operations);
    model.setFileLabel(WheelModel::labelForFiles(paths));
    model.setVisible(true);
    writeImage(WheelView::render(model, dark), output);
}

void renderWheel(const QStringList& args, QTextStream&) {
    // The mode word is optional, so the path is the first argument that is not one.
    QStringList rest = args.mid(1);
    WheelMode mode = WheelMode::convert;
    if (!rest.isEmpty()) {
        if (const auto word = WheelMode::fromRawValue(rest[0])) {
            mode = *word;
            rest.removeFirst();
        }
    }
    if (rest.isEmpty() || rest[0].isEmpty())
        fail(QStringLiteral("Ausgabepfad fehlt."));
    const QString sample =
        mode == WheelMode::convert ? QStringLiteral("IMG_0412.heic") : QStringLiteral("photo.jpg");
    writeWheel(mode, filePaths({sample}), rest[0], wantsDark(rest.mid(1)));
}

void renderEditor(const QStringList& args, QTextStream&) {
    if (args.size() < 3)
        fail(CommandTable::usage(CommandId::renderEditor));
    const QString& art = args[1];
    if (!CommandTable::editorArts().contains(art))
        fail(QStringLiteral("Unbekannter Editor %1").arg(art));
    QStringList files = args.mid(3);
    const bool dark = files.removeAll(QStringLiteral("dark")) > 0;
    if (art == u"crop" || art == u"backdrop") {
        const QStringList paths = filePaths(files);
        writeImage(art == u"crop" ? EditorRendering::crop(paths, dark)
                                  : EditorRendering::backdrop(paths, dark),
                   args[2]);
        return;
    }
    if (art == u"pdf-split" || art == u"pdf-merge") {
        const QStringList paths = filePaths(files);
        writeImage(art == u"pdf-split" ? EditorRendering::pdfSplit(paths, dark)
                                       : EditorRendering::pdfMerge(paths, dark),
                   args[2]);
        return;
    }
    const WheelMode mode = *WheelMode::fromRawValue(QStringView(art).chopped(6));
    writeWheel(mode, filePaths(files), args[2], dark);
}

Command handler(CommandId id) {
    switch (id) {
    case CommandId::renderWheel:
        return renderWheel;
    case CommandId::renderIcon:
        return renderIcon;
    case CommandId::renderEditor:
        return renderEditor;
    case CommandId::renderScene:
        return renderArtwork(&Artwork::scene);
    case CommandId::renderOg:
        return renderArtwork(&Artwork::socialCard);
    case CommandId::renderShelf:
        return renderShelf;
    case CommandId::renderMenubarIcon:
        return renderMenubarIcon;
    case CommandId::renderMenu:
        return renderMenu;
    case CommandId::renderDmgBackground:
        return renderArtwork(&Artwork::banner);
    case CommandId::renderWelcome:
        return renderWelcome;
    case CommandId::renderSettings:
        return renderSettings;
    default:
        break;
    }
    throw ConversionError::failed(
        QStringLiteral("%1 ist keine Zeichnung.").arg(QLatin1String(CommandTable::row(id).name)));
}

} // namespace

void draw(CommandId command, const QStringList& args, QTextStream& out) {
    handler(command)(args, out);
}

} // namespace tramix::DrawingCommands
