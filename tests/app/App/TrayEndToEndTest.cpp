// The tray app as a user meets it under a real X server: its icon docks in a tray, opens the
// menu panel and quits from its context menu; files dragged from another application, a key
// tapped and a drop on a segment leave the result beside the original, the toast, the history
// and the count.
#include "Catalogue/OperationRegistry.h"
#include "Drag/WheelGeometry.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "UI/MenuView.h"
#include "app/Drag/DragHarness.h"
#include "app/Settings/PrivateStores.h"
#include "app/Settings/ScratchLog.h"

#include <QFileInfo>
#include <QRect>
#include <QSettings>
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
        QString found;
        waitUntil(
            [&] {
                const QStringList messages = log.messages();
                for (; read < messages.size() && found.isEmpty(); ++read) {
                    if (messages[read].startsWith(prefix))
                        found = messages[read];
                }
                return !found.isEmpty();
            },
            timeoutMs);
        if (found.isEmpty())
            ADD_FAILURE() << "no log line " << prefix.toStdString() << " in:\n"
                          << log.messages().join('\n').toStdString();
        return found;
    }

    // What the app has stored under `key` by now.
    QVariant stored(const QString& key) const {
        return QSettings(folder.path("config/Tramix/Tramix.conf"), QSettings::IniFormat).value(key);
    }

    int total() const { return stored("totalConversions").toInt(); }

    // Drags `files` from a Qt source, taps `key` and drops on the PNG segment.
    void dropOnPNG(const QStringList& files, const QString& key = QStringLiteral("Shift_L")) {
        const QList<FileOperation> operations = OperationRegistry::convertOperations(files);
        const qsizetype index = ids(operations).indexOf("convert.image.png");
        ASSERT_GE(index, 0);
        ASSERT_LT(index, WheelGeometry::operationsPerPage);
        const QPoint target = segmentPoint(
            open, int(index),
            WheelGeometry::slots(
                int(std::min<qsizetype>(operations.size(), WheelGeometry::operationsPerPage))));

        Source source = startSource(SourceKit::qt, files);
        ASSERT_TRUE(beginDrag(input, source, open, [this] {
            return !waitForLog(QStringLiteral("Maustaste gedrückt")).isEmpty();
        }));
        waitForLog(QStringLiteral("Datei-Drag erkannt"));
        input.tap({key});
        waitForLog(QStringLiteral("Rad convert mit"));
        input.glide(open, target, 5);
        ASSERT_TRUE(waitUntilAccepted(source));
        input.button(false);
        // The source must live until it has handed over the drop.
        waitForLog(QStringLiteral("Drop auf convert.image.png"));
    }

    TestFolder folder;
    ScratchLog log{folder.path("state")};
    ScratchVariable config{"XDG_CONFIG_HOME", folder.path("config").toLocal8Bit()};
    // The texts the tests wait for are the German ones.
    ScratchVariable language{"LANGUAGE", "de"};
    qsizetype read = 0;
    const QPoint open{700, 500};
};

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

    dropOnPNG({photo});
    EXPECT_EQ(waitForLog(QStringLiteral("Toast: Fertig in")).section(" · ", 1),
              QStringLiteral("Urlaub.png"));
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")), QStringLiteral("Verlauf: PNG"));
    EXPECT_TRUE(QFileInfo::exists(folder.path("Urlaub.png")));
    EXPECT_TRUE(QFileInfo::exists(photo)) << "the dragged file stays where it was";
    EXPECT_EQ(total(), 1);

    // One damaged file of two: its own sentence, the good result, and no count.
    const QString good = saveImage(photoLike(320, 240), folder.path("Strand.jpg"), "[Q=90]");
    const QString broken = folder.file("kaputt.jpg", "not a JPEG at all");
    dropOnPNG({good, broken});
    const QString failed = waitForLog(QStringLiteral("Toast: Fehlgeschlagen"));
    EXPECT_TRUE(failed.contains(QStringLiteral("„kaputt.jpg“"))) << failed.toStdString();
    EXPECT_EQ(waitForLog(QStringLiteral("Verlauf: ")),
              QStringLiteral("Verlauf: PNG (fehlgeschlagen)"));
    EXPECT_TRUE(QFileInfo::exists(folder.path("Strand.png")));
    EXPECT_FALSE(QFileInfo::exists(folder.path("kaputt.png")));
    EXPECT_EQ(total(), 1);
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
    EXPECT_FALSE(log.messages().mid(read).contains("Willkommensfenster gezeigt"));
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
    dropOnPNG({photo}, QStringLiteral("Control_L"));
    waitForLog(QStringLiteral("Toast: Fertig in"));
    EXPECT_TRUE(QFileInfo::exists(results + "/Urlaub.png"));
    EXPECT_FALSE(QFileInfo::exists(folder.path("Urlaub.png")));
}
