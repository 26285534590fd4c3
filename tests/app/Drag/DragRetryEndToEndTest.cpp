// Drags from a source that drops, empties, delays or re-stamps its first answer, as a busy
// application may: the drag monitor asks again while the button is down and still recognises
// the files; an answer that only comes after the release recognises nothing.
#include "DragHarness.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

// How long a check that something does not happen watches for it.
constexpr int settleMs = 300;

const QRegularExpression pressedLine("^log Maustaste gedrückt");
const QRegularExpression recognised("^log Datei-Drag erkannt: (.*), Tasten");
const QRegularExpression endedLine("^log Drag beendet");
const QRegularExpression requestLine("^request (\\d+) (\\d+)$");

class DragRetryEndToEnd : public DesktopTest<::testing::TestWithParam<const char*>> {
protected:
    // A wheel host and a source that answers its first request as `mode` says.
    void start(const QString& mode) {
        host = startWheelHost();
        ASSERT_TRUE(host) << "the wheel host never started";
        source.process = std::make_unique<ChildProcess>(QStringLiteral(XDND_SOURCE_BINARY),
                                                        QStringList{"--first", mode, file});
        const auto ready =
            source.process->waitFor(QRegularExpression("^ready (\\d+) (\\d+)$"), startDeadlineMs);
        ASSERT_TRUE(ready) << "the drag source never showed its window";
        source.center = {ready->captured(1).toInt(), ready->captured(2).toInt()};
    }
    [[nodiscard]] bool drag() {
        return beginDrag(input, source, {700, 500},
                         [&] { return host->waitFor(pressedLine).has_value(); });
    }
    std::string transcript() const {
        return ("host:\n" + host->allLines().join('\n') + "\nsource:\n" +
                source.process->allLines().join('\n'))
            .toStdString();
    }

    TestFolder folder;
    const QString file = folder.file("Strand mit Meer.jpg");
    std::unique_ptr<ChildProcess> host;
    Source source;
};

using DragRetryEndToEndRelease = DragRetryEndToEnd;

} // namespace

TEST_P(DragRetryEndToEnd, TheFilesAreRecognisedWhileTheButtonIsDown) {
    const QString mode = GetParam();
    ASSERT_NO_FATAL_FAILURE(start(mode));
    ASSERT_TRUE(drag());
    const auto found = host->waitFor(recognised);
    ASSERT_TRUE(found) << transcript();
    EXPECT_EQ(found->captured(1), "Strand mit Meer.jpg");

    // The source heard more than one request, and the files came from a later one (or, late,
    // from the first, once the second had shown that the monitor stopped waiting for it).
    const QStringList said = source.process->linesFor(0);
    EXPECT_TRUE(said.contains(QRegularExpression("request 2 \\d+"))) << transcript();
    EXPECT_EQ(said.contains(QStringLiteral("answered 1")), mode == "late") << transcript();
    if (mode == "owner") {
        // Taking hold anew with a later time is answered only to a request carrying that time;
        // the first request after it already does.
        const qsizetype owner = said.indexOf(QRegularExpression("^owner \\d+$"));
        ASSERT_GE(owner, 0) << transcript();
        const qsizetype next = said.indexOf(requestLine, owner);
        ASSERT_GT(next, owner) << transcript();
        EXPECT_EQ(requestLine.match(said[next]).captured(2), said[owner].mid(6)) << transcript();
    }

    input.button(false);
    EXPECT_TRUE(host->waitFor(endedLine)) << transcript();
}

INSTANTIATE_TEST_SUITE_P(FirstAnswer, DragRetryEndToEnd,
                         ::testing::Values("drop", "empty", "late", "owner"));

TEST_F(DragRetryEndToEndRelease, AnAnswerAfterTheReleaseRecognisesNothing) {
    // The source answers nothing while the button is down; the monitor keeps asking.
    ASSERT_NO_FATAL_FAILURE(start("never"));
    ASSERT_TRUE(drag());
    ASSERT_TRUE(source.process->waitFor(QRegularExpression("^request 2 \\d+$"))) << transcript();

    // Let go: the source answers every request at once, too late.
    input.button(false);
    ASSERT_TRUE(source.process->waitFor(QRegularExpression("^answered "))) << transcript();
    host->linesFor(settleMs);
    // Nor does a plain click afterwards pick up the old drag's files.
    input.moveTo({900, 700});
    input.button(true);
    EXPECT_TRUE(host->waitFor(pressedLine)) << transcript();
    input.button(false);
    host->linesFor(settleMs);
    EXPECT_FALSE(host->allLines().filter(QRegularExpression("Datei-Drag erkannt")).size())
        << transcript();
}
