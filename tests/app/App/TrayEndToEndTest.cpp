// The tray app as a user meets it under a real X server: its icon docks in a tray, opens the
// menu panel and quits from its context menu; files dragged from another application, a key
// tapped and a drop on a segment leave the result beside the original, the toast, the history
// and the count.
#include "Catalogue/OperationRegistry.h"
#include "Drag/WheelGeometry.h"
#include "Editors/EditorWindows.h"
#include "Settings/UILanguage.h"
#include "TestDocuments.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"
#include "UI/MenuView.h"
#include "app/Drag/DragHarness.h"
#include "app/Settings/PrivateStores.h"
#include "app/Settings/ScratchLog.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRect>
#include <QSettings>
#include <QUrl>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

bool xdotool(const QStringList& args) {
    return QProcess::execute(QStringLiteral("xdotool"), args) == 0;
}

// What an xdotool search printed; nothing when it found nothing.
QString xdotoolSearch(const QStringList& args) {
    QProcess search;
    search.start(QStringLiteral("xdotool"), QStringList{"search", "--onlyvisible"} + args);
    search.waitForFinished(5000);
    return QString::fromUtf8(search.readAllStandardOutput());
}

bool clickAt(QPoint point, int button = 1) {
    return xdotool({"mousemove", QString::number(point.x()), QString::number(point.y()), "click",
                    QString::number(button)});
}

// The geometry of the app's visible menu panel, or an empty rect when none is open.
QRect visibleMenu() {
    const QString out = xdotoolSearch({"--name", "^Tramix$", "getwindowgeometry", "--shell", "%@"});
    const auto value = [&](const char* name) {
        return QRegularExpression(QStringLiteral("^%1=(\\d+)$").arg(name),
                                  QRegularExpression::MultilineOption)
            .match(out)
            .captured(1)
            .toInt();
    };
    return QRect(value("X"), value("Y"), value("WIDTH"), value("HEIGHT"));
}

// Waits until the panel is open (or closed), and returns where it is.
QRect waitForMenu(bool open) {
    QRect menu;
    waitUntil([&] {
        menu = visibleMenu();
        return menu.isEmpty() != open;
    });
    return menu;
}

// How many windows of the app are on screen (the docked icon is one).
qsizetype visibleAppWindows() {
    return xdotoolSearch({"--classname", "tramix"}).split('\n', Qt::SkipEmptyParts).size();
}

// Whether a window of the app with exactly this title is on screen.
bool windowShown(const QString& title) {
    return !xdotoolSearch({"--name", "^" + QRegularExpression::escape(title) + "$"}).isEmpty();
}

// Sets an environment variable, which the app inherits, while the test runs.
class ScratchVariable {
public:
    ScratchVariable(const char* name, const QByteArray& value)
        : name_(name)
        , previous_(qgetenv(name))
        , hadPrevious_(qEnvironmentVariableIsSet(name)) {
        qputenv(name, value);
    }
    ~ScratchVariable() {
        if (hadPrevious_)
            qputenv(name_, previous_);
        else
            qunsetenv(name_);
    }

private:
    const char* name_;
    QByteArray previous_;
    bool hadPrevious_;
};

// The app inherits private state and config folders, so its log, settings and count start
// fresh and can be read back.
class TrayEndToEnd : public DesktopTest<> {
protected:
    // Waits until the app's log holds a message starting with `prefix` after the last one
    // found; returns it.
    QString waitForLog(const QString& prefix, int timeoutMs = eventDeadlineMs) {
        return log.waitFor(prefix, timeoutMs);
    }

    // What the app has stored under `key` by now.
    QVariant stored(const QString& key) const {
        return QSettings(folder.path("config/Tramix/Tramix.conf"), QSettings::IniFormat).value(key);
    }

    int total() const { return stored("totalConversions").toInt(); }

    // Drags `files` from a source, taps the key of `mode` (or `key`, where the settings bound
    // another) and drops on the segment of `id`.
    void dropOn(const QStringList& files, WheelMode mode, const QString& id,
                SourceKit kit = SourceKit::qt, const QString& key = {}) {
        QList<FileOperation> operations = OperationRegistry::operations(mode, files);
        if (mode == WheelMode::tools)
            operations = EditorWindows::shared().tools(files, operations);
        const qsizetype index = ids(operations).indexOf(id);
        ASSERT_GE(index, 0);
        ASSERT_LT(index, WheelGeometry::operationsPerPage);
        const QPoint target = segmentPoint(
            open, int(index),
            WheelGeometry::slots(
                int(std::min<qsizetype>(operations.size(), WheelGeometry::operationsPerPage))));
        Source source = startSource(kit, files);
        ASSERT_TRUE(beginDrag(input, source, open, [this] {
            return !waitForLog(QStringLiteral("Maustaste gedrückt")).isEmpty();
        }));
        waitForLog(QStringLiteral("Datei-Drag erkannt"));
        const QString defaultKey = mode == WheelMode::actions ? QStringLiteral("Control_L")
                                   : mode == WheelMode::tools ? QStringLiteral("Super_L")
                                                              : QStringLiteral("Shift_L");
        input.tap({key.isEmpty() ? defaultKey : key});
        waitForLog(QStringLiteral("Rad %1 mit").arg(mode.rawValue()));
        input.glide(open, target, 5);
        ASSERT_TRUE(waitUntilAccepted(source));
        input.button(false);
        // The source must live until it has handed over the drop.
        waitForLog(QStringLiteral("Drop auf ") + id);
    }

    TestFolder folder;
    ScratchLog log{folder.path("state")};
    ScratchVariable config{"XDG_CONFIG_HOME", folder.path("config").toLocal8Bit()};
    // The app speaks German here, whatever the machine's language, so its log reads the same.
    ScratchVariable language{"LANGUAGE", "de"};
    const QPoint open{700, 500};
};

// Waits for the app's window titled `title`, puts the pointer on it and gives it the keyboard;
// false when none appears.
bool focusWindow(const QString& title) {
    QString id;
    waitUntil([&] {
        id = xdotoolSearch({"--name", QStringLiteral("^%1$").arg(title)}).section('\n', 0, 0);
        return !id.isEmpty();
    });
    return !id.isEmpty() && xdotool({"mousemove", "--window", id, "200", "150"}) &&
           xdotool({"windowfocus", "--sync", id});
}

using TrayApp = TrayEndToEnd;

} // namespace

// One test for all of it: the tray has room for one host on the display.
TEST_F(TrayApp, StartsWithoutCommandOpensItsMenuFromTheIconAndQuitsFromItsContextMenu) {
    ChildProcess host(QStringLiteral(TRAY_HOST_BINARY), {});
    ASSERT_TRUE(host.waitFor(QRegularExpression("^ready$"), startDeadlineMs));

    // A single leading dash is no command: this starts the tray app, not the command line.
    QProcess app;
    app.start(QStringLiteral(TRAMIX_BINARY), {"-list", "convert", "a.jpg"});
    ASSERT_TRUE(app.waitForStarted());
    const auto docked = host.waitFor(QRegularExpression("^docked (\\d+) (\\d+)$"), startDeadlineMs);
    ASSERT_TRUE(docked) << "the tray icon never docked";
    EXPECT_EQ(app.state(), QProcess::Running);
    const QPoint icon(docked->captured(1).toInt(), docked->captured(2).toInt());

    ASSERT_TRUE(clickAt(icon));
    const QRect menu = waitForMenu(true);
    ASSERT_FALSE(menu.isEmpty()) << "a click on the icon opened no menu";
    EXPECT_GT(menu.top(), icon.y()) << "the menu hangs below the icon";
    EXPECT_LE(menu.top() - icon.y(), 40);
    EXPECT_GE(menu.left(), 6);
    EXPECT_GT(menu.height(), 400);

    ASSERT_TRUE(clickAt(QPoint(1500, 700)));
    EXPECT_TRUE(waitForMenu(false).isEmpty()) << "a click elsewhere left the menu open";

    ASSERT_TRUE(clickAt(icon));
    ASSERT_FALSE(waitForMenu(true).isEmpty()) << "the menu did not open a second time";
    ASSERT_TRUE(xdotool({"key", "Escape"}));
    EXPECT_TRUE(waitForMenu(false).isEmpty()) << "Escape left the menu open";
    // The closed panel lets go of the pointer a moment later; a click that comes faster than
    // any hand would still belong to it.
    ASSERT_TRUE(waitUntil([&] { return !input.pointerGrabbed(); })) << "the panel kept the grab";

    const qsizetype windows = visibleAppWindows();
    ASSERT_TRUE(clickAt(icon, 3));
    ASSERT_TRUE(waitUntil([&] { return visibleAppWindows() > windows; }))
        << "a right click on the icon opened no context menu";
    ASSERT_TRUE(xdotool({"key", "Down", "Return"}));
    ASSERT_TRUE(app.waitForFinished(eventDeadlineMs)) << "Beenden did not end the app";
    EXPECT_EQ(app.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(app.exitCode(), 0) << app.readAllStandardError().toStdString();
    EXPECT_EQ(app.readAllStandardOutput(), QByteArray());
    // Clicks are logged by the drag monitor, which watches every press for a drag.
    EXPECT_EQ(log.messages().value(0), "Tramix gestartet");
}

TEST_F(TrayEndToEnd, ADropOnPNGWritesTheFileShowsTheToastAndCountsOnlySuccesses) {
    const QString photo = saveImage(photoLike(320, 240), folder.path("Urlaub.jpg"), "[Q=90]");
    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);

    dropOn({photo}, WheelMode::convert, "convert.image.png");
    EXPECT_EQ(waitForLog("Toast: " + UILanguage::text("Fertig in", "Done in")).section(" · ", 1),
              QStringLiteral("Urlaub.png"));
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")), QStringLiteral("Verlauf: PNG"));
    EXPECT_TRUE(QFileInfo::exists(folder.path("Urlaub.png")));
    EXPECT_TRUE(QFileInfo::exists(photo)) << "the dragged file stays where it was";
    EXPECT_EQ(total(), 1);

    // One damaged file of two: its own sentence, the good result, and no count.
    const QString good = saveImage(photoLike(320, 240), folder.path("Strand.jpg"), "[Q=90]");
    const QString broken = folder.file("kaputt.jpg", "not a JPEG at all");
    dropOn({good, broken}, WheelMode::convert, "convert.image.png");
    const QString failed = waitForLog("Toast: " + UILanguage::text("Fehlgeschlagen", "Failed"));
    EXPECT_TRUE(failed.contains(QStringLiteral("„kaputt.jpg“"))) << failed.toStdString();
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")),
              QStringLiteral("Verlauf: PNG (fehlgeschlagen)"));
    EXPECT_TRUE(QFileInfo::exists(folder.path("Strand.png")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("kaputt.png")));
    EXPECT_EQ(total(), 1);
}

// Letters dropped together become PDFs in one job, one LibreOffice start for all of them.
TEST_F(TrayEndToEnd, DroppedLettersBecomePDFsInOneJob) {
    QStringList letters;
    for (const QString name : {"Brief an Anna", "Brief an Jörg"}) {
        const QString html = folder.file(
            name + ".html", QStringLiteral("<h1>%1</h1><p>Grüße</p>").arg(name).toUtf8());
        letters.append(officeDocument(html, "docx"));
    }
    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);
    dropOn(letters, WheelMode::convert, "convert.document.pdf");
    waitForLog("Toast: " + UILanguage::text("Fertig in", "Done in"), startDeadlineMs);
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")), QStringLiteral("Verlauf: PDF"));
    EXPECT_TRUE(textOf(folder.path("Brief an Jörg.pdf")).contains("Brief an Jörg"));
    EXPECT_EQ(pageCountOf(folder.path("Brief an Anna.pdf")), 1);
    EXPECT_EQ(total(), 2);
}

// The cut-out takes seconds: the toast shows its progress, then the result beside the photo.
TEST_F(TrayEndToEnd, ACatDroppedOnCutOutShowsProgressAndLandsOnTransparency) {
    const QString photo = folder.path("Katze.png");
    ASSERT_TRUE(QFile::copy("/usr/lib/python3/dist-packages/skimage/data/chelsea.png", photo));
    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);
    dropOn({photo}, WheelMode::tools, "tool.image.cutout");
    waitForLog(QStringLiteral("Toast: Fortschritt"), startDeadlineMs);
    waitForLog("Toast: " + UILanguage::text("Fertig in", "Done in"), startDeadlineMs);
    EXPECT_EQ(openImage(folder.path("Katze freigestellt.png")).bands(), 4);
}

// A first start welcomes; once finished, the next start shows nothing. The menu's settings
// window then gives the formats wheel Ctrl (taking it from the actions wheel) and sends the
// results to a folder, and the very next drag obeys both.
TEST_F(TrayApp, WelcomesOnceAndTheSettingsWindowRebindsAKeyAndMovesTheResults) {
    ChildProcess host(QStringLiteral(TRAY_HOST_BINARY), {});
    ASSERT_TRUE(host.waitFor(QRegularExpression("^ready$"), startDeadlineMs));
    const QString welcome = QStringLiteral("Willkommen bei Tramix");
    const QRegularExpression docked("^docked (\\d+) (\\d+)$");
    {
        ChildProcess app(TRAMIX_BINARY, {});
        ASSERT_TRUE(host.waitFor(docked, startDeadlineMs)) << "the tray icon never docked";
        waitForLog(QStringLiteral("Willkommensfenster gezeigt"), startDeadlineMs);
        ASSERT_TRUE(waitUntil([&] { return windowShown(welcome); }));
        // "Los geht's" has the focus.
        ASSERT_TRUE(xdotool({"key", "Return"}));
        waitForLog(QStringLiteral("Willkommen abgeschlossen"));
        EXPECT_TRUE(waitUntil([&] { return !windowShown(welcome); }));
        EXPECT_TRUE(stored("hasSeenWelcome").toBool());
    }

    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);
    const auto icon = host.waitFor(docked, startDeadlineMs);
    ASSERT_TRUE(icon) << "the tray icon never docked again";
    ASSERT_TRUE(clickAt(QPoint(icon->captured(1).toInt(), icon->captured(2).toInt())));
    const QRect menu = waitForMenu(true);
    ASSERT_FALSE(menu.isEmpty());
    // The menu answers only once start-up is through, and start-up shows the welcome, if any.
    EXPECT_FALSE(log.messages().mid(log.seen()).contains("Willkommensfenster gezeigt"));
    EXPECT_FALSE(windowShown(welcome));

    const QString title = QStringLiteral("Tramix – Einstellungen");
    // The gear sits where the menu's layout puts it, whatever the menu holds.
    PrivateStores fresh;
    QPoint gear;
    for (const MenuView::Target& target :
         MenuView::layout(MenuContent::make(fresh.settings, fresh.history, true)).targets) {
        if (target.kind == MenuView::Target::settings)
            gear = menu.topLeft() + target.rect.center().toPoint();
    }
    ASSERT_TRUE(clickAt(gear));
    ASSERT_TRUE(waitUntil([&] { return windowShown(title); })) << "no settings window";

    // The focus starts on the first control; the next one is the formats wheel's key.
    ASSERT_TRUE(xdotool({"key", "Tab", "Right", "space"}));
    ASSERT_TRUE(waitUntil([&] { return stored("keys/convert").toString() == "control"; }));
    EXPECT_EQ(stored("keys/actions").toString(), "shift") << "the actions wheel takes its key";

    // On to where results go, past the two other wheels; the folder chooser asks at once.
    const QString results = folder.folder("Ergebnisse");
    ASSERT_TRUE(xdotool({"key", "Tab", "Tab", "Tab", "Right", "space"}));
    ASSERT_TRUE(waitUntil([] { return windowShown(QStringLiteral("Ordner für die Ergebnisse")); }))
        << "no folder chooser";
    ASSERT_TRUE(xdotool({"type", "--delay", "5", results}));
    ASSERT_TRUE(xdotool({"key", "Return"}));
    ASSERT_TRUE(waitUntil([&] { return stored("outputFolder").toString() == results; }));
    EXPECT_FALSE(stored("writeNextToOriginal").toBool());
    ASSERT_TRUE(xdotool({"key", "Escape"}));
    EXPECT_TRUE(waitUntil([&] { return !windowShown(title); })) << "Escape left it open";

    const QString photo = saveImage(photoLike(320, 240), folder.path("Urlaub.jpg"), "[Q=90]");
    dropOn({photo}, WheelMode::convert, "convert.image.png", SourceKit::qt,
           QStringLiteral("Control_L"));
    waitForLog(QStringLiteral("Toast: Fertig in"));
    EXPECT_TRUE(QFileInfo::exists(results + "/Urlaub.png"));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Urlaub.png")));
}

// A long compression shows how far it is; its cancel button stops it and leaves nothing.
TEST_F(TrayEndToEnd, AVideoCompressionShowsItsProgressAndItsCancelButtonStopsItLeavingNothing) {
    const QString video = folder.path("Urlaub.mkv");
    toolOutput("ffmpeg", {"-v", "error", "-f", "lavfi", "-i",
                          "testsrc2=size=640x360:rate=25:duration=60", "-c:v", "mpeg4", video});
    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);
    const QStringList before = namesIn(folder.path("."));

    dropOn({video}, WheelMode::tools, "tool.video.compress");
    const QRegularExpressionMatch progress =
        QRegularExpression(QStringLiteral("Fortschritt (\\d+) %, Abbrechen bei (\\d+),(\\d+)$"))
            .match(waitForLog(QStringLiteral("Toast: Fortschritt")));
    ASSERT_TRUE(progress.hasMatch());
    EXPECT_LT(progress.captured(1).toInt(), 100);
    ASSERT_TRUE(clickAt({progress.captured(2).toInt(), progress.captured(3).toInt()}));
    waitForLog(QStringLiteral("Auftrag abgebrochen"));
    EXPECT_EQ(waitForLog(QStringLiteral("Toast: Abgebrochen")),
              "Toast: Abgebrochen · Es ist keine halbfertige Datei geblieben.");
    EXPECT_EQ(namesIn(folder.path(".")), before);
}

// What a user pastes after dropping files on KOPIEREN or PFAD, from a Qt and a GTK drag; FLOAT
// parks them on the shelf where they were dropped.
TEST_F(TrayEndToEnd, CopyPathAndFloatTakeTheDraggedFiles) {
    const QStringList files = {folder.file("Urlaub am Meer.png"), folder.file("b.pdf"),
                               folder.file("c d.txt")};
    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);
    // The clipboard as another application pastes it, once it offers `format` (or, with `!`
    // in front, once it no longer does).
    const auto pasted = [](const QString& format) {
        QJsonObject offered;
        waitUntil([&] {
            QProcess reader;
            reader.start(QStringLiteral(CLIPBOARD_READER_BINARY));
            reader.waitForFinished(startDeadlineMs);
            offered = QJsonDocument::fromJson(reader.readAllStandardOutput()).object();
            return format.startsWith(u'!') ? !offered.contains(format.mid(1))
                                           : offered.contains(format);
        });
        return offered;
    };
    const QString uris = [&] {
        QStringList list;
        for (const QString& file : files)
            list.append(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded));
        return list.join("\r\n") + "\r\n";
    }();
    for (const SourceKit kit : {SourceKit::qt, SourceKit::gtk}) {
        dropOn(files, WheelMode::actions, "action.copy", kit);
        const QJsonObject offered = pasted("x-special/gnome-copied-files");
        EXPECT_EQ(offered["text/uri-list"].toString(), uris);
        EXPECT_EQ(offered["x-special/gnome-copied-files"].toString(),
                  "copy\n" + uris.trimmed().split("\r\n").join('\n'));
        dropOn(files, WheelMode::actions, "action.path", kit);
        const QJsonObject paths = pasted("!text/uri-list");
        EXPECT_FALSE(paths.contains("x-special/gnome-copied-files"));
        EXPECT_EQ(paths["text/plain"].toString(), files.join('\n'));
    }
    dropOn(files, WheelMode::actions, "action.float");
    const QList<FileOperation> actions = OperationRegistry::operations(WheelMode::actions, files);
    const QPoint dropped = segmentPoint(open, int(ids(actions).indexOf("action.float")),
                                        WheelGeometry::slots(int(actions.size())));
    const auto shelf = QRegularExpression("^Ablage an \\((\\d+), (\\d+)\\) mit 3 neuen")
                           .match(waitForLog(QStringLiteral("Ablage an")));
    ASSERT_TRUE(shelf.hasMatch());
    EXPECT_LE(
        (QPoint(shelf.captured(1).toInt(), shelf.captured(2).toInt()) - dropped).manhattanLength(),
        8);
    for (const QString& file : files)
        EXPECT_TRUE(QFileInfo::exists(file)) << "parked files stay where they are";
}

// The editors a tool opens: a crop to 1:1 of the first of two photos, the second skipped; a
// preset backdrop for both at once. Each reports like a job: the toast and the history.
TEST_F(TrayEndToEnd, TheCropAndBackdropEditorsWriteWhatWasChosenAndReportIt) {
    const QStringList photos = {saveImage(photoLike(400, 300), folder.path("Berg.jpg"), "[Q=90]"),
                                saveImage(photoLike(320, 240), folder.path("See.jpg"), "[Q=90]")};
    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);

    dropOn(photos, WheelMode::tools, "tool.image.crop");
    const QString cropTitle = UILanguage::text("Zuschneiden", "Crop");
    ASSERT_TRUE(focusWindow(cropTitle));
    waitForLog(QStringLiteral("Editor: „Berg.jpg“ bereit"));
    input.tap({"3"}); // 1:1
    input.tap({"Return"});
    waitForLog(QStringLiteral("Editor: „Berg zugeschnitten.jpg“ geschrieben"));
    waitForLog(QStringLiteral("Editor: „See.jpg“ bereit"));
    input.keys({"Control_L", "Right"}, true);
    input.keys({"Right", "Control_L"}, false);
    const QString cropped = UILanguage::text("Zugeschnitten", "Cropped");
    EXPECT_EQ(waitForLog(QStringLiteral("Toast: ")),
              "Toast: " + cropped + QStringLiteral(" · Berg zugeschnitten.jpg"));
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")), "Verlauf: " + cropped);
    EXPECT_EQ(sizeOf(folder.path("Berg zugeschnitten.jpg")), "300 x 300");
    EXPECT_FALSE(QFileInfo::exists(folder.path("See zugeschnitten.jpg")));
    EXPECT_TRUE(waitUntil([&] {
        return xdotoolSearch({"--name", "^" + cropTitle + "$"}).isEmpty();
    }));

    dropOn(photos, WheelMode::tools, "tool.image.backdrop");
    ASSERT_TRUE(focusWindow(UILanguage::text("Hintergrund", "Background")));
    waitForLog(QStringLiteral("Editor: „Berg.jpg“ bereit"));
    input.tap({"2"}); // the second preset, "Wiese"
    input.keys({"Control_L", "Return"}, true);
    input.keys({"Return", "Control_L"}, false);
    const QString styled = UILanguage::text("2 Bilder gestaltet", "2 images styled");
    EXPECT_EQ(waitForLog(QStringLiteral("Toast: ")).section(" · ", 0, 0), "Toast: " + styled);
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")), "Verlauf: " + styled);
    for (const QString name : {"Berg mit Hintergrund.png", "See mit Hintergrund.png"}) {
        const QString written = folder.path(name);
        ASSERT_TRUE(QFileInfo::exists(written)) << name.toStdString();
        // The meadow runs from light at the top to green at the bottom.
        const Colour top = pixelAt(written, openImage(written).width() / 2, 0);
        EXPECT_TRUE(isNear(top, {0xF3, 0xF7, 0xD9}, 6)) << name.toStdString();
    }
    // The next session starts with the style used last.
    EXPECT_EQ(QSettings(folder.path("config/Tramix/Backdrop.ini"), QSettings::IniFormat)
                  .value("fill")
                  .toString(),
              "gradient:meadow");
}

// The PDF editor from the tools wheel: three PDFs merged after a row moved up with the keyboard
// and a range typed for another; one PDF split every two pages, then by two clicked pages.
TEST_F(TrayEndToEnd, ThePDFEditorMergesInTheOrderAndRangesChosenAndSplitsFourWays) {
    const auto pdf = [&](const QString& name, const QString& word, int pages) {
        QStringList texts;
        for (int page = 1; page <= pages; ++page)
            texts.append(QStringLiteral("%1 %2").arg(word).arg(page));
        return folder.file(name, textPDF(texts));
    };
    const QStringList parts = {pdf("A.pdf", "Alpha", 1), pdf("B.pdf", "Beta", 3),
                               pdf("C.pdf", "Gamma", 1)};
    const QString report = pdf("D.pdf", "Delta", 5);
    ChildProcess app(TRAMIX_BINARY, {});
    waitForLog(QStringLiteral("Tramix gestartet"), startDeadlineMs);

    dropOn(parts, WheelMode::tools, "tool.pdf.merge");
    ASSERT_TRUE(focusWindow(UILanguage::text("PDFs zusammenführen", "Merge PDFs")));
    for (int i = 0; i < 3; ++i)
        waitForLog(QStringLiteral("Editor: „"));
    input.tap({"Down"});
    input.tap({"Down"});
    input.keys({"Alt_L", "Up"}, true); // C above B
    input.keys({"Up", "Alt_L"}, false);
    input.tap({"Down"});
    for (const char* key : {"2", "minus", "3"})
        input.tap({key});
    input.tap({"Return"});
    const QString merged = UILanguage::text("Zusammengeführt", "Merged");
    EXPECT_EQ(waitForLog(QStringLiteral("Toast: ")),
              "Toast: " + merged + QStringLiteral(" · Zusammengeführt.pdf"));
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")), "Verlauf: " + merged);
    const QString result = folder.path("Zusammengeführt.pdf");
    ASSERT_EQ(pageCountOf(result), 4);
    QStringList pages;
    for (int page = 1; page <= 4; ++page)
        pages.append(toolOutput("pdftotext", {"-f", QString::number(page), "-l",
                                              QString::number(page), result, "-"})
                         .simplified());
    EXPECT_EQ(pages, QStringList({"Alpha 1", "Gamma 1", "Beta 2", "Beta 3"}));

    const QString splitTitle = UILanguage::text("PDF aufteilen", "Split PDF");
    dropOn({report}, WheelMode::tools, "tool.pdf.split");
    ASSERT_TRUE(focusWindow(splitTitle));
    waitForLog(QStringLiteral("Editor: „D.pdf“ bereit"));
    input.keys({"Alt_L", "2"}, true); // every few pages, two by default
    input.keys({"2", "Alt_L"}, false);
    input.tap({"Return"});
    EXPECT_EQ(waitForLog(QStringLiteral("Toast: ")).section(" · ", 0, 0),
              "Toast: " + UILanguage::text("In 3 PDFs aufgeteilt", "Split into 3 PDFs"));
    const QString pieces = folder.path("D aufgeteilt");
    QList<int> counts;
    for (const QString& name : namesIn(pieces))
        counts.append(pageCountOf(pieces + u'/' + name));
    EXPECT_EQ(counts, QList<int>({2, 2, 1})) << namesIn(pieces).join(", ").toStdString();
    EXPECT_TRUE(waitUntil([&] {
        return xdotoolSearch({"--name", "^" + splitTitle + "$"}).isEmpty();
    }));

    dropOn({report}, WheelMode::tools, "tool.pdf.split");
    ASSERT_TRUE(focusWindow(splitTitle));
    waitForLog(QStringLiteral("Editor: „D.pdf“ bereit"));
    input.keys({"Alt_L", "4"}, true); // clicked pages: the keyboard goes to the pages
    input.keys({"4", "Alt_L"}, false);
    input.tap({"space"});
    for (int i = 0; i < 3; ++i)
        input.tap({"Right"});
    input.tap({"space"});
    input.tap({"Return"});
    waitForLog(QStringLiteral("Toast: "));
    EXPECT_EQ(textOf(folder.path("D S. 1, 4.pdf")).simplified(), "Delta 1 Delta 4");
}
