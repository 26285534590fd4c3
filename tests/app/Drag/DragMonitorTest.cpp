#include "Drag/DragMonitor.h"

#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

constexpr std::uint32_t shiftFlag = 0x20000, commandFlag = 0x100000, capsLockFlag = 0x10000;

// A desktop whose button, keys and drag data the test sets by hand.
struct FakeInput : DesktopInput {
    PointerState state;
    std::uint64_t count = 7;
    std::optional<QStringList> paths;
    bool watchingKeys = false;
    int fileQueries = 0;

    bool start() override { return true; }
    void stop() override {}
    PointerState pointer() override { return state; }
    std::uint64_t dragChangeCount() override { return count; }
    std::optional<QStringList> dragFilePaths() override {
        ++fileQueries;
        return paths;
    }
    void setWatchingKeys(bool watching) override { watchingKeys = watching; }

    void send(Event event) { onEvent(event, state.modifierFlags, count); }
    void press() {
        state.leftButton = true;
        send(Event::leftButtonDown);
    }
    void release() {
        state.leftButton = false;
        send(Event::leftButtonUp);
    }
    void keys(std::uint32_t flags) {
        state.modifierFlags = flags;
        send(Event::keyChanged);
    }
    void offer(std::optional<QStringList> files) {
        ++count;
        paths = std::move(files);
        send(Event::dragDataChanged);
    }
};

// A monitor on a fake desktop, with what it reported and logged.
struct Fixture {
    FakeInput* input = new FakeInput;
    DragMonitor monitor{std::unique_ptr<DesktopInput>(input)};
    QStringList calls;
    QStringList log;

    Fixture() {
        monitor.onPress = [this](ModifierKey key, const QStringList& files) {
            calls.append("press " + key.rawValue() + " " + files.join(','));
        };
        monitor.onRelease = [this](ModifierKey key) { calls.append("release " + key.rawValue()); };
        monitor.onDragEnded = [this] { calls.append("ended"); };
        monitor.log = [this](const QString& line) { log.append(line); };
        EXPECT_TRUE(monitor.start());
    }
};

} // namespace

TEST(DragMonitor, ReportsKeysOfAFileDragAndItsEnd) {
    Fixture f;
    f.input->press();
    EXPECT_TRUE(f.monitor.inSession());
    EXPECT_TRUE(f.input->watchingKeys);

    // The drag data is announced before its files arrive; the monitor waits for them.
    f.input->offer(std::nullopt);
    EXPECT_FALSE(f.monitor.isFileDrag());
    f.input->paths = QStringList{"/tmp/a b.jpg", "/tmp/c.png"};
    f.input->send(DesktopInput::Event::dragDataChanged);
    ASSERT_TRUE(f.monitor.isFileDrag());
    const int queries = f.input->fileQueries;

    f.input->keys(shiftFlag | capsLockFlag);
    f.input->keys(shiftFlag); // caps lock alone changes nothing
    f.input->keys(0);
    f.input->keys(capsLockFlag);
    f.input->release();
    EXPECT_EQ(f.calls,
              QStringList({"press shift /tmp/a b.jpg,/tmp/c.png", "release shift", "ended"}));
    EXPECT_EQ(f.input->fileQueries, queries) << "the files are read once per drag";
    EXPECT_FALSE(f.monitor.inSession());
    EXPECT_FALSE(f.input->watchingKeys);
    EXPECT_EQ(f.monitor.draggedPaths().size(), 2) << "the last drag's files are kept";
}

TEST(DragMonitor, EachKeyAloneIsAPressOfThatKey) {
    for (ModifierKey key : ModifierKey::allCases()) {
        Fixture f;
        f.input->press();
        f.input->offer(QStringList{"/tmp/a.jpg"});
        f.input->keys(key.flag());
        EXPECT_EQ(f.calls, QStringList{"press " + key.rawValue() + " /tmp/a.jpg"});
    }
}

TEST(DragMonitor, IgnoresDragsWithoutFilesAndKeysThatAreNotOnePress) {
    Fixture f;
    // A window drag: no drag data at all.
    f.input->press();
    f.input->keys(shiftFlag);
    f.input->release();
    // A text drag: drag data without files.
    f.input->state.modifierFlags = 0;
    f.input->press();
    f.input->offer(QStringList{});
    f.input->keys(shiftFlag);
    f.input->release();
    EXPECT_TRUE(f.calls.isEmpty()) << f.calls.join('|').toStdString();
    EXPECT_FALSE(f.log.contains("Drag beendet"));

    // An old drag's data does not make the next plain click a file drag.
    f.input->state.modifierFlags = 0;
    f.input->paths = QStringList{"/tmp/old.jpg"};
    f.input->press();
    f.input->release();
    EXPECT_TRUE(f.calls.isEmpty());

    // Two keys in one change are no press; a second key while the first is held replaces it.
    f.input->press();
    f.input->offer(QStringList{"/tmp/x.pdf"});
    f.input->keys(shiftFlag | commandFlag);
    f.input->keys(0);
    EXPECT_TRUE(f.calls.isEmpty());
    f.input->keys(shiftFlag);
    f.input->keys(shiftFlag | commandFlag);
    f.input->keys(shiftFlag);
    f.input->release();
    EXPECT_EQ(f.calls, QStringList({"press shift /tmp/x.pdf", "press command /tmp/x.pdf",
                                    "release command", "ended"}));
}

TEST(DragMonitor, APressReadTogetherWithItsDragStillComesBeforeIt) {
    Fixture f;
    // A busy monitor reads the press and the drag's new data in one go: the press is handed on
    // second, but happened while the count was still the old one.
    const std::uint64_t before = f.input->count++;
    f.input->paths = QStringList{"/tmp/a.jpg"};
    f.input->state.leftButton = true;
    f.input->onEvent(DesktopInput::Event::leftButtonDown, 0, before);
    f.input->send(DesktopInput::Event::dragDataChanged);
    EXPECT_TRUE(f.monitor.isFileDrag());
}

TEST(DragMonitor, AKeyHeldAtTheStartIsAPressOnlyWhenAskedFor) {
    for (bool treatAsPress : {false, true}) {
        Fixture f;
        f.monitor.treatHeldKeyAsPress = [treatAsPress] { return treatAsPress; };
        f.input->state.modifierFlags = shiftFlag;
        f.input->press();
        f.input->offer(QStringList{"/tmp/a.jpg"});
        if (treatAsPress) {
            EXPECT_EQ(f.calls, QStringList{"press shift /tmp/a.jpg"});
        } else {
            EXPECT_TRUE(f.calls.isEmpty());
            f.input->keys(0);
            f.input->keys(shiftFlag); // let go and pressed again: now it counts
            EXPECT_EQ(f.calls, QStringList{"press shift /tmp/a.jpg"});
        }
    }
}

TEST(DragMonitor, PollsWhenEventsAreMissingAndStopsCleanly) {
    Fixture f;
    // No button event arrives; the idle poll notices the button and the session poll the keys.
    f.input->state.leftButton = true;
    ASSERT_TRUE(QTest::qWaitFor([&] { return f.monitor.inSession(); }));
    ++f.input->count;
    f.input->paths = QStringList{"/tmp/a.jpg"};
    f.input->state.modifierFlags = 0;
    ASSERT_TRUE(QTest::qWaitFor([&] { return f.monitor.isFileDrag(); }));
    f.input->state.modifierFlags = commandFlag;
    EXPECT_TRUE(QTest::qWaitFor([&] { return !f.calls.isEmpty(); }));
    EXPECT_EQ(f.calls, QStringList{"press command /tmp/a.jpg"});

    f.monitor.stop();
    EXPECT_EQ(f.calls.last(), "ended");
    EXPECT_FALSE(f.monitor.inSession());
    f.input->state.leftButton = false;
    f.input->state.modifierFlags = 0;
    QTest::qWait(DragMonitor::idleIntervalMs * 2);
    EXPECT_EQ(f.calls.size(), 2);
}
