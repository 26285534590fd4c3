#include "JobRunner.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "TestFiles.h"

#include <QFileInfo>
#include <QSet>
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

namespace JobRunner = tramix::JobRunner;
using tramix::ConversionError;
using tramix::JobResult;
using tramix::OperationStyle;
using tramix::OutputContext;
using tramix::test::TestFolder;

namespace {

tramix::FileOperation operation(OperationStyle style, tramix::PerformFunction perform) {
    return {"test.op", "TEST", "Test", std::nullopt, style, std::move(perform)};
}

std::vector<std::string> sorted(const QStringList& list) {
    std::vector<std::string> result;
    for (const QString& text : list)
        result.push_back(text.toStdString());
    std::sort(result.begin(), result.end());
    return result;
}

} // namespace

TEST(JobRunner, PerFileRunsInParallelAndCollectsEveryOutcome) {
    TestFolder dir;
    QStringList inputs, expectedOutputs, expectedFailures;
    QSet<QString> failing; // every fifth input
    for (int i = 0; i < 40; ++i) {
        const QString input = dir.file(QString("in%1.txt").arg(i));
        inputs.append(input);
        if (i % 5 == 0) {
            failing.insert(input);
            expectedFailures.append(
                input + " → " + ConversionError::unreadable(QFileInfo(input).fileName()).what());
        } else {
            expectedOutputs.append(input + ".out");
        }
    }
    std::atomic<int> running = 0, peak = 0, calls = 0;
    const auto op = operation(
        OperationStyle::perFile, [&](const QStringList& in, const OutputContext&) -> QStringList {
            ++calls;
            EXPECT_EQ(in.size(), 1);
            const int now = ++running;
            for (int seen = peak; now > seen && !peak.compare_exchange_weak(seen, now);) {
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            --running;
            if (failing.contains(in.first()))
                throw ConversionError::unreadable(QFileInfo(in.first()).fileName());
            return {in.first() + ".out"};
        });

    QList<qsizetype> reported;
    const JobResult result =
        JobRunner::run(op, inputs, OutputContext{}, [&](qsizetype done, qsizetype total) {
            EXPECT_EQ(total, 40);
            reported.append(done);
        });
    QList<qsizetype> expectedReports;
    for (qsizetype done = 1; done <= 40; ++done)
        expectedReports.append(done);
    EXPECT_EQ(reported, expectedReports) << "one report per ended input, failed ones included";
    QStringList failures;
    for (const JobResult::Failure& failure : result.failures)
        failures.append(failure.input + " → " + failure.message);
    EXPECT_EQ(calls, 40);
    EXPECT_EQ(sorted(result.outputs), sorted(expectedOutputs));
    EXPECT_EQ(sorted(failures), sorted(expectedFailures));
    // Forty 10 ms calls on at most eight workers cannot take less than 50 ms.
    EXPECT_GE(result.duration, 0.05);
    EXPECT_LE(peak, JobRunner::width());
    EXPECT_GE(peak, 2);
}

TEST(JobRunner, CombinedFailureIsReportedForEveryInput) {
    TestFolder dir;
    QStringList inputs;
    for (int i = 0; i < 5; ++i)
        inputs.append(dir.file(QString("page%1.pdf").arg(i)));
    std::atomic<int> calls = 0;
    const auto op = operation(OperationStyle::combined,
                              [&](const QStringList& in, const OutputContext&) -> QStringList {
                                  ++calls;
                                  EXPECT_EQ(in, inputs);
                                  throw ConversionError::failed("Zusammenfügen misslungen.");
                              });
    const JobResult result = JobRunner::run(op, inputs, OutputContext{});
    EXPECT_EQ(calls, 1);
    EXPECT_TRUE(result.outputs.isEmpty());
    ASSERT_EQ(result.failures.size(), 5);
    for (qsizetype i = 0; i < 5; ++i)
        EXPECT_EQ(result.failures[i], (JobResult::Failure{inputs[i], "Zusammenfügen misslungen."}));
}

TEST(JobRunner, ForeignExceptionsKeepTheirOwnText) {
    TestFolder dir;
    std::atomic<int> calls = 0;
    // Instant operations are fed like combined ones: one call with every input.
    const auto op = operation(OperationStyle::instant,
                              [&](const QStringList& in, const OutputContext&) -> QStringList {
                                  ++calls;
                                  EXPECT_EQ(in.size(), 2);
                                  throw std::runtime_error("Datenträger voll");
                              });
    const JobResult result =
        JobRunner::run(op, {dir.file("a.txt"), dir.file("b.txt")}, OutputContext{});
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(result.failures.size(), 2);
    EXPECT_EQ(result.failures.first().message.toStdString(), "Datenträger voll");
}

TEST(JobRunner, SuccessfulCallsReportWhatTheyWroteAndHoldNoNames) {
    TestFolder dir;
    // Writes one result and reserves a second name that it never uses.
    const auto write = [](const QStringList& in, const OutputContext& context) -> QStringList {
        const tramix::NameReservation unused = context.destination(in.first(), "txt", "leer");
        return {tramix::AtomicFile::writeBytes(context.destination(in.first(), "txt"),
                                               [] { return QByteArray("r"); })};
    };
    QStringList expected{dir.path("r.txt"), dir.path("r 2.txt")};
    for (OperationStyle style : {OperationStyle::perFile, OperationStyle::combined}) {
        const JobResult result =
            JobRunner::run(operation(style, write), {dir.path("r.png")}, OutputContext{});
        EXPECT_EQ(result.outputs, QStringList{expected.takeFirst()});
        EXPECT_TRUE(result.succeeded());
        EXPECT_GT(result.duration, 0);
    }
    EXPECT_EQ(tramix::NameReservation(dir.path("r leer.txt")).path(), dir.path("r leer.txt"));
}

TEST(JobRunner, EmptyResultIsNoSuccessAndWidthIsBounded) {
    EXPECT_FALSE(JobResult{}.succeeded());
    EXPECT_EQ(JobRunner::width(1), 2);
    EXPECT_EQ(JobRunner::width(4), 4);
    EXPECT_EQ(JobRunner::width(16), 8);
    EXPECT_GE(JobRunner::width(), 2);
    EXPECT_LE(JobRunner::width(), 8);
}
