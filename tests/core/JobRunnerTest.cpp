#include "JobRunner.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "TestFiles.h"

#include <QFileInfo>
#include <atomic>
#include <gtest/gtest.h>
#include <stdexcept>
#include <system_error>
#include <thread>

using namespace tramix;

namespace {

FileOperation operation(OperationStyle style, PerformFunction perform) {
    return {"test.op", "TEST", "Test", std::nullopt, style, std::move(perform)};
}

QStringList sorted(QStringList list) {
    list.sort();
    return list;
}

} // namespace

TEST(JobRunner, PerFileRunsInParallelAndCollectsEveryOutcome) {
    test::TestFolder dir;
    QStringList inputs, expectedOutputs, expectedFailures;
    for (int i = 0; i < 40; ++i) {
        inputs.append(dir.file(QString("in%1.txt").arg(i)));
        // Every fifth input fails.
        if (i % 5 == 0)
            expectedFailures.append(inputs.last() + " → „in" + QString::number(i) +
                                    ".txt“ konnte nicht gelesen werden.");
        else
            expectedOutputs.append(inputs.last() + ".out");
    }
    std::atomic<int> running = 0, peak = 0;
    const auto op = operation(
        OperationStyle::perFile, [&](const QStringList& in, const OutputContext&) -> QStringList {
            EXPECT_EQ(in.size(), 1);
            const int now = ++running;
            for (int seen = peak; now > seen && !peak.compare_exchange_weak(seen, now);) {
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            --running;
            if (in.first().endsWith(u"0.txt") || in.first().endsWith(u"5.txt"))
                throw ConversionError::unreadable(QFileInfo(in.first()).fileName());
            return {in.first() + ".out"};
        });

    QList<qsizetype> reported;
    const JobResult result = JobRunner::run(op, inputs, {}, [&](qsizetype done, qsizetype total) {
        EXPECT_EQ(total, 40);
        reported.append(done);
    });
    EXPECT_EQ(reported.size(), 40) << "one report per ended input, failed ones included";
    for (qsizetype i = 0; i < reported.size(); ++i)
        EXPECT_EQ(reported[i], i + 1);
    QStringList failures;
    for (const JobResult::Failure& failure : result.failures)
        failures.append(failure.input + " → " + failure.message);
    EXPECT_EQ(sorted(result.outputs), sorted(expectedOutputs));
    EXPECT_EQ(sorted(failures), sorted(expectedFailures));
    // Forty 10 ms calls on at most eight workers cannot take less than 50 ms.
    EXPECT_GE(result.duration, 0.05);
    EXPECT_LE(peak, JobRunner::width());
    EXPECT_GE(peak, 2);
}

TEST(JobRunner, AFailedCombinedCallFailsEveryInputWithItsText) {
    test::TestFolder dir;
    const QStringList inputs{dir.file("a.pdf"), dir.file("b.pdf"), dir.file("c.pdf")};
    // Instant operations are fed like combined ones: one call with every input. Foreign
    // exceptions keep their own text.
    for (const OperationStyle style : {OperationStyle::combined, OperationStyle::instant}) {
        std::atomic<int> calls = 0;
        const auto op =
            operation(style, [&](const QStringList& in, const OutputContext&) -> QStringList {
                ++calls;
                EXPECT_EQ(in, inputs);
                if (style == OperationStyle::instant)
                    throw std::system_error(ENOSPC, std::generic_category());
                throw ConversionError::failed("Zusammenfügen misslungen.");
            });
        const JobResult result = JobRunner::run(op, inputs, {});
        const QString message = style == OperationStyle::instant ? "Der Datenträger ist voll."
                                                                 : "Zusammenfügen misslungen.";
        EXPECT_EQ(calls, 1);
        EXPECT_TRUE(result.outputs.isEmpty());
        EXPECT_FALSE(result.succeeded());
        ASSERT_EQ(result.failures.size(), 3);
        for (qsizetype i = 0; i < 3; ++i)
            EXPECT_EQ(result.failures[i], (JobResult::Failure{inputs[i], message}));
    }
}

TEST(JobRunner, SuccessfulCallsReportWhatTheyWroteAndHoldNoNames) {
    test::TestFolder dir;
    // Writes one result and reserves a second name that it never uses.
    const auto write = [](const QStringList& in, const OutputContext& context) -> QStringList {
        const NameReservation unused = context.destination(in.first(), "txt", "leer");
        return {AtomicFile::writeBytes(context.destination(in.first(), "txt"),
                                       [] { return QByteArray("r"); })};
    };
    QStringList expected{dir.path("r.txt"), dir.path("r 2.txt")};
    for (OperationStyle style : {OperationStyle::perFile, OperationStyle::combined}) {
        const JobResult result = JobRunner::run(operation(style, write), {dir.path("r.png")}, {});
        EXPECT_EQ(result.outputs, QStringList{expected.takeFirst()});
        EXPECT_TRUE(result.succeeded());
        EXPECT_GT(result.duration, 0);
    }
    EXPECT_EQ(NameReservation(dir.path("r leer.txt")).path(), dir.path("r leer.txt"));
    EXPECT_FALSE(JobResult{}.succeeded()) << "nothing written is no success";
}
