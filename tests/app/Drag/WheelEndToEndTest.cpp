// Real drags from a Qt and a GTK application under the test X server, with the drag monitor
// wired to the wheel in a host process: what the user sees and what happens to the files.
#include "Catalogue/OperationRegistry.h"
#include "DragHarness.h"
#include "TestFiles.h"

#include <QFileInfo>
#include <QRect>
#include <QThread>
#include <algorithm>
#include <gtest/gtest.h>
#include <iostream>

using namespace tramix;
using namespace tramix::test;

namespace {

// How long a check that something does not happen watches for it.
constexpr int settleMs = 300;

const QRegularExpression pressedLine("^log Maustaste gedrückt");
const QRegularExpression recognised("^log Datei-Drag erkannt");
const QRegularExpression shownLine("^shown-us (\\d+) (-?\\d+) (-?\\d+) (\\d+) (\\d+) (\\d+)$");
const QRegularExpression hiddenLine("^state visible=0");
const QRegularExpression dropLine("^drop (\\S+) (.*)$");
const QRegularExpression resultLine("^result (\\w+)$");
const QRegularExpression endedLine("^log Drag beendet");

struct Shown {
    long long micros = 0;
    QRect panel;
    int operations = 0;
};

std::optional<Shown> waitShown(ChildProcess& host) {
    const auto match = host.waitFor(shownLine);
    if (!match)
        return std::nullopt;
    return Shown{match->captured(1).toLongLong(),
                 QRect(match->captured(2).toInt(), match->captured(3).toInt(),
                       match->captured(4).toInt(), match->captured(5).toInt()),
                 match->captured(6).toInt()};
}

// Drags from `source` to `to`, moving on once the host has seen the press.
bool dragTo(SyntheticInput& input, ChildProcess& host, const Source& source, QPoint to) {
    return beginDrag(input, source, to, [&] { return host.waitFor(pressedLine).has_value(); });
}

// What the host and the source said, for a failure message.
std::string transcript(const ChildProcess& host, const Source& source) {
    return ("host:\n" + host.allLines().join('\n') + "\nsource:\n" +
            source.process->allLines().join('\n'))
        .toStdString();
}

// Drags files from `source` to `to` and waits until the host has recognised a file drag.
[[nodiscard]] bool dragFiles(SyntheticInput& input, ChildProcess& host, const Source& source,
                             QPoint to) {
    if (!dragTo(input, host, source, to))
        return false;
    if (host.waitFor(recognised))
        return true;
    ADD_FAILURE() << "the host never recognised the file drag:\n" << transcript(host, source);
    return false;
}

bool anyMatch(const QStringList& lines, const QRegularExpression& pattern) {
    return std::any_of(lines.begin(), lines.end(),
                       [&](const QString& line) { return pattern.match(line).hasMatch(); });
}

class WheelEndToEnd : public DesktopTest<::testing::TestWithParam<SourceKit>> {
protected:
    // A wheel host with `hostArgs` and a source of the test's kind for the test's files.
    void start(const QStringList& hostArgs = {}) {
        host = startWheelHost(hostArgs);
        ASSERT_TRUE(host) << "the wheel host never started";
        source = startSource(GetParam(), files);
    }
    [[nodiscard]] bool dragFiles(QPoint to) { return ::dragFiles(input, *host, source, to); }
    std::optional<Shown> tapShift() {
        input.tap({"Shift_L"});
        return waitShown(*host);
    }
    void expectFilesKept() {
        for (const QString& file : files)
            EXPECT_TRUE(QFileInfo::exists(file)) << file.toStdString();
    }
    // Lets go of the drag and checks the source was not told to move anything.
    void dropAndExpectRefused() {
        const qsizetype from = host->allLines().size();
        input.button(false);
        // The source ends its drag only after the target has answered a drop, and the host
        // reports it right after it answered.
        const auto result = source.process->waitFor(resultLine);
        ASSERT_TRUE(result) << "the drag never ended";
        EXPECT_NE(result->captured(1), "move");
        EXPECT_TRUE(host->waitFor(endedLine));
        host->linesFor(settleMs);
        EXPECT_FALSE(anyMatch(host->allLines().mid(from), dropLine));
        expectFilesKept();
    }

    TestFolder folder;
    const QStringList files{folder.file("Strand.jpg"), folder.file("Meer.jpg")};
    const QPoint open{700, 500};
    std::unique_ptr<ChildProcess> host;
    Source source;
};

using WheelEndToEndDesktop = DesktopTest<>;

} // namespace

TEST_P(WheelEndToEnd, ShiftOpensTheConvertWheelOnThePointerAndASecondTapClosesIt) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(dragFiles(open));
    const auto shown = tapShift();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->panel, QRect(open - QPoint(150, 150), QSize(300, 300)));
    EXPECT_EQ(shown->operations, OperationRegistry::convertOperations(files).size());

    input.tap({"Shift_L"});
    EXPECT_TRUE(host->waitFor(hiddenLine)) << host->allLines().join('\n').toStdString();
    dropAndExpectRefused();

    // Near the screen's corner the panel is clamped to it and no longer centred.
    ASSERT_TRUE(dragFiles({20, 30}));
    const auto clamped = tapShift();
    ASSERT_TRUE(clamped);
    EXPECT_EQ(clamped->panel.topLeft(), QPoint(0, 0));
    input.glide({20, 30}, {1000, 800}, 4);
    dropAndExpectRefused();
}

TEST_P(WheelEndToEnd, HoverHighlightsAndRestingInTheCentreTurnsTwoPagesInOneAndAHalfSeconds) {
    ASSERT_NO_FATAL_FAILURE(start({"--operations", "20"}));
    ASSERT_TRUE(dragFiles(open));
    ASSERT_TRUE(tapShift());

    input.glide(open, segmentPoint(open, 1, 8), 5);
    EXPECT_TRUE(host->waitFor(QRegularExpression("^state visible=1 .* page=0 hovered=1$")));
    input.glide(segmentPoint(open, 1, 8), open, 5);
    ASSERT_TRUE(host->waitFor(QRegularExpression("hovered=none$")));
    const QStringList rest = host->linesFor(1500);
    QStringList pages;
    for (const QString& line : rest) {
        const auto match = QRegularExpression(" page=(\\d+) ").match(line);
        if (match.hasMatch() && !pages.contains(match.captured(1)))
            pages.append(match.captured(1));
    }
    EXPECT_EQ(pages, QStringList({"1", "2"})) << rest.join('\n').toStdString();

    // A drop in the centre is refused.
    dropAndExpectRefused();
}

TEST_P(WheelEndToEnd, ADropOnASegmentDeliversTheOperationAndTheFilesWhichStayInPlace) {
    ASSERT_NO_FATAL_FAILURE(start());
    ASSERT_TRUE(dragFiles(open));
    // Shift stays down through the drop: GTK then offers nothing but "move".
    input.keys({"Shift_L"}, true);
    ASSERT_TRUE(waitShown(*host));
    input.glide(open, segmentPoint(open, 2, 8), 5);
    ASSERT_TRUE(host->waitFor(QRegularExpression("hovered=2$")));
    ASSERT_TRUE(waitUntilAccepted(source));
    input.button(false);
    const auto drop = host->waitFor(dropLine);
    input.keys({"Shift_L"}, false);
    ASSERT_TRUE(drop);
    EXPECT_EQ(drop->captured(1), OperationRegistry::convertOperations(files)[2].id);
    EXPECT_EQ(drop->captured(2), files.join('|'));
    const auto result = source.process->waitFor(resultLine);
    ASSERT_TRUE(result);
    EXPECT_EQ(result->captured(1), "copy");
    EXPECT_TRUE(host->waitFor(hiddenLine)) << "the wheel closes after a drop";
    expectFilesKept();
}

TEST_P(WheelEndToEnd, DropsOnAnEmptySlotOrOutsideTheRingAreRefused) {
    ASSERT_NO_FATAL_FAILURE(start({"--operations", "2"}));
    for (const QPoint target : {segmentPoint(open, 2, 4), open + QPoint(140, 140)}) {
        ASSERT_TRUE(dragFiles(open));
        ASSERT_TRUE(tapShift());
        input.glide(open, target, 5);
        QThread::msleep(150);
        dropAndExpectRefused();
        host->linesFor(400); // let the wheel close before the next drag
    }
}

TEST_P(WheelEndToEnd, TextDragsCapsLockAndTwoKeysAtOnceOpenNothing) {
    ASSERT_NO_FATAL_FAILURE(start());
    {
        Source text = startSource(GetParam(), {}, true);
        ASSERT_TRUE(dragTo(input, *host, text, open));
        input.tap({"Shift_L"});
        const QStringList lines = host->linesFor(600);
        EXPECT_FALSE(anyMatch(lines, recognised));
        EXPECT_FALSE(anyMatch(lines, shownLine));
        input.button(false);
        ASSERT_TRUE(text.process->waitFor(resultLine));
        EXPECT_FALSE(anyMatch(host->linesFor(settleMs), endedLine));
    }
    ASSERT_TRUE(dragFiles(open));
    input.tap({"Caps_Lock"});
    EXPECT_FALSE(anyMatch(host->linesFor(400), shownLine)) << "caps lock is no wheel key";
    input.tap({"Caps_Lock"});
    input.keys({"Shift_L", "Control_L"}, true);
    EXPECT_FALSE(anyMatch(host->linesFor(400), shownLine)) << "two keys at once are no press";
    input.keys({"Shift_L", "Control_L"}, false);
    QThread::msleep(100);
    EXPECT_TRUE(tapShift()) << "the drag is still watched";
    input.glide(open, {1000, 800}, 4);
    dropAndExpectRefused();
}

INSTANTIATE_TEST_SUITE_P(Sources, WheelEndToEnd, ::testing::Values(SourceKit::qt, SourceKit::gtk),
                         [](const auto& info) {
                             return info.param == SourceKit::qt ? "Qt" : "Gtk";
                         });

TEST_F(WheelEndToEndDesktop, ADragWithoutDragDataOpensNothing) {
    auto host = startWheelHost();
    ASSERT_TRUE(host);
    // Like moving a window or drawing a selection: the button is down, nothing offers data.
    input.moveTo({1200, 700});
    input.button(true);
    input.glide({1200, 700}, {1400, 850}, 8);
    input.tap({"Shift_L"});
    input.button(false);
    EXPECT_TRUE(host->waitFor(pressedLine));
    host->linesFor(500);
    EXPECT_FALSE(anyMatch(host->allLines(), shownLine));
    EXPECT_FALSE(anyMatch(host->allLines(), endedLine));
}

TEST_F(WheelEndToEndDesktop, KeyPressToVisibleWheelOverTwentyOpenings) {
    TestFolder folder;
    auto host = startWheelHost();
    ASSERT_TRUE(host);
    Source source = startSource(SourceKit::qt, {folder.file("Bild.png")});
    const QPoint open(900, 500);
    ASSERT_TRUE(dragFiles(input, *host, source, open));
    std::vector<double> millis;
    for (int i = 0; i < 20; ++i) {
        const long long pressed = monotonicMicros();
        input.keys({"Shift_L"}, true);
        const auto shown = waitShown(*host);
        input.keys({"Shift_L"}, false);
        ASSERT_TRUE(shown) << "opening " << i;
        millis.push_back(double(shown->micros - pressed) / 1000);
        QThread::msleep(30);
        input.tap({"Shift_L"});
        ASSERT_TRUE(host->waitFor(hiddenLine)) << host->allLines().join('\n').toStdString();
        host->linesFor(250); // the panel leaves the screen
    }
    input.glide(open, {1500, 900}, 4);
    input.button(false);
    std::sort(millis.begin(), millis.end());
    const double median = (millis[9] + millis[10]) / 2;
    std::cout << "key press to visible wheel: median " << median << " ms, worst " << millis.back()
              << " ms\n";
    RecordProperty("median_ms", std::to_string(median));
    RecordProperty("worst_ms", std::to_string(millis.back()));
    // Generous bounds: the sanitizer build on a busy machine; the release figure is far lower.
    EXPECT_LT(median, 100);
    EXPECT_LT(millis.back(), 400);
}

TEST_F(WheelEndToEndDesktop, InHoldActivationTheWheelFollowsTheKey) {
    TestFolder folder;
    auto host = startWheelHost({"--activation", "hold"});
    ASSERT_TRUE(host);
    Source source = startSource(SourceKit::qt, {folder.file("Notiz.pdf")});
    const QPoint open(800, 450);

    // A key already held when the drag is recognised opens the wheel at once.
    input.keys({"Control_L"}, true);
    ASSERT_TRUE(dragTo(input, *host, source, open));
    const auto shown = waitShown(*host);
    ASSERT_TRUE(shown) << transcript(*host, source);
    EXPECT_TRUE(anyMatch(host->allLines(), QRegularExpression("^state visible=1 mode=actions")));
    input.keys({"Control_L"}, false);
    EXPECT_TRUE(host->waitFor(hiddenLine)) << "letting go closes it";

    input.keys({"Shift_L"}, true);
    EXPECT_TRUE(waitShown(*host));
    input.keys({"Shift_L"}, false);
    EXPECT_TRUE(host->waitFor(hiddenLine));
    input.glide(open, {1500, 900}, 4);
    input.button(false);
}
