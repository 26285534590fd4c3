#include "Settings/DebugLog.h"

#include "ScratchLog.h"
#include "TestFiles.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <map>
#include <thread>
#include <vector>

using namespace tramix;

TEST(DebugLog, CreatesItsFolderAndWritesStampedLinesInOrder) {
    test::TestFolder folder;
    test::ScratchLog log(folder.path("state"));
    EXPECT_EQ(DebugLog::path(), folder.path("state/Tramix/Tramix.log"));

    DebugLog::write(QStringLiteral("Tramix gestartet"));
    const QByteArray first = log.content();
    const QRegularExpression line(
        QStringLiteral("^([01]\\d|2[0-3]):[0-5]\\d:[0-5]\\d\\.\\d{3}  Tramix gestartet\\n$"));
    EXPECT_TRUE(line.match(QString::fromUtf8(first)).hasMatch()) << first.toStdString();

    DebugLog::write(QStringLiteral("Drop auf „convert.image.png“"));
    const QByteArray both = log.content();
    EXPECT_TRUE(both.startsWith(first));
    EXPECT_TRUE(both.endsWith("  Drop auf „convert.image.png“\n")) << both.toStdString();
    EXPECT_EQ(both.count('\n'), 2);
}

TEST(DebugLog, LinesFromManyThreadsNeverInterleaveAndKeepEachThreadsOrder) {
    test::TestFolder folder;
    test::ScratchLog log(folder.path("state"));
    constexpr int threads = 8;
    constexpr int linesPerThread = 250;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([t] {
            for (int i = 0; i < linesPerThread; ++i)
                DebugLog::write(
                    QStringLiteral("Faden %1 Zeile %2 %3").arg(t).arg(i).arg(QString(40, u'x')));
        });
    }
    for (std::thread& writer : writers)
        writer.join();

    const QStringList messages = log.messages();
    ASSERT_EQ(messages.size(), threads * linesPerThread);
    const QRegularExpression shape(QStringLiteral("^Faden (\\d) Zeile (\\d+) x{40}$"));
    std::map<int, int> next;
    for (const QString& message : messages) {
        const QRegularExpressionMatch match = shape.match(message);
        ASSERT_TRUE(match.hasMatch()) << message.toStdString();
        const int thread = match.captured(1).toInt();
        EXPECT_EQ(match.captured(2).toInt(), next[thread]++) << "thread " << thread;
    }
}

TEST(DebugLog, AFolderThatCannotBeWrittenNeitherFailsNorBlocks) {
    test::TestFolder folder;
    // A file where the state folder should be: nothing below it can ever be created.
    test::ScratchLog log(folder.file("state") + QStringLiteral("/below"));

    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < 200; ++i)
        DebugLog::write(QStringLiteral("verloren %1").arg(i));
    EXPECT_LT(timer.elapsed(), 1000);
    EXPECT_TRUE(DebugLog::flush());
    EXPECT_FALSE(QFileInfo::exists(DebugLog::path()));
    EXPECT_TRUE(log.content().isEmpty());
}
