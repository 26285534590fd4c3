// The tray app as a user meets it: files dragged from another application, a key tapped, a drop
// on a segment, and then the result beside the original, the toast, the history and the count.
#include "Catalogue/OperationRegistry.h"
#include "Drag/WheelGeometry.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "app/Drag/DragHarness.h"
#include "app/Settings/ScratchLog.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QSettings>
#include <QThread>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

// Points XDG_CONFIG_HOME at a private folder while the test runs, so the app's settings and
// count start fresh and can be read back.
class ScratchConfig {
public:
    explicit ScratchConfig(const QString& configHome)
        : previous_(qgetenv("XDG_CONFIG_HOME")) {
        qputenv("XDG_CONFIG_HOME", configHome.toLocal8Bit());
    }
    ~ScratchConfig() { qputenv("XDG_CONFIG_HOME", previous_); }

private:
    QByteArray previous_;
};

class TrayEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DISPLAY") || !input.available())
            GTEST_SKIP() << "needs an X display with XTEST (scripts/test starts Xvfb)";
    }
    void TearDown() override {
        if (!input.available())
            return;
        input.keys({"Shift_L"}, false);
        input.button(false);
        QThread::msleep(100);
    }

    // Waits until the app's log holds a message starting with `prefix` after the last one
    // found; returns it.
    QString waitForLog(const QString& prefix, int timeoutMs = eventDeadlineMs) {
        QElapsedTimer clock;
        clock.start();
        do {
            const QStringList messages = log.messages();
            for (qsizetype i = read; i < messages.size(); ++i) {
                if (messages[i].startsWith(prefix)) {
                    read = i + 1;
                    return messages[i];
                }
            }
            QThread::msleep(50);
        } while (clock.elapsed() < timeoutMs);
        ADD_FAILURE() << "no log line " << prefix.toStdString() << " in:\n"
                      << log.messages().join('\n').toStdString();
        return {};
    }

    int total() const {
        return QSettings(folder.path("config/Tramix/Tramix.conf"), QSettings::IniFormat)
            .value("totalConversions", 0)
            .toInt();
    }

    // Drags `files` from a Qt source, taps Shift and drops on the PNG segment.
    void dropOnPNG(const QStringList& files) {
        const QList<FileOperation> operations = OperationRegistry::convertOperations(files);
        const qsizetype index = std::find_if(operations.begin(), operations.end(),
                                             [](const FileOperation& operation) {
                                                 return operation.id == "convert.image.png";
                                             }) -
                                operations.begin();
        ASSERT_LT(index, WheelGeometry::operationsPerPage);
        const int slots = WheelGeometry::slots(
            int(std::min<qsizetype>(operations.size(), WheelGeometry::operationsPerPage)));
        const QPoint target =
            (QPointF(open - QPoint(150, 150)) + WheelGeometry().labelCenter(int(index), slots))
                .toPoint();

        Source source = startSource(SourceKit::qt, files);
        ASSERT_TRUE(beginDrag(input, source, open, [this] {
            return !waitForLog(QStringLiteral("Maustaste gedrückt")).isEmpty();
        }));
        waitForLog(QStringLiteral("Datei-Drag erkannt"));
        input.keys({"Shift_L"}, true);
        QThread::msleep(40);
        input.keys({"Shift_L"}, false);
        waitForLog(QStringLiteral("Rad convert mit"));
        input.glide(open, target, 5);
        ASSERT_TRUE(waitUntilAccepted(source));
        input.button(false);
        // The source must live until it has handed over the drop.
        waitForLog(QStringLiteral("Drop auf convert.image.png"));
    }

    TestFolder folder;
    ScratchLog log{folder.path("state")};
    ScratchConfig config{folder.path("config")};
    SyntheticInput input;
    qsizetype read = 0;
    const QPoint open{700, 500};
};

} // namespace

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
