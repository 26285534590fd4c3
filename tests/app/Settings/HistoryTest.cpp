#include "Settings/History.h"

#include "TestFiles.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace tramix;

namespace {

History::Entry job(const QString& title, int outputs, bool failed = false) {
    History::Entry entry;
    entry.title = title;
    for (int i = 0; i < outputs; ++i)
        entry.outputs.append(QStringLiteral("/tmp/%1-%2.png").arg(title).arg(i));
    entry.failed = failed;
    return entry;
}

QStringList titles(const History& history) {
    QStringList titles;
    for (const History::Entry& entry : history.entries())
        titles.append(entry.title);
    return titles;
}

} // namespace

TEST(History, KeepsTheLastEightAndCountsOutputsOfSuccessfulJobsAcrossRestarts) {
    test::TestFolder folder;
    const QString store = folder.path("Tramix.conf");
    {
        History history(store);
        EXPECT_EQ(history.total(), 0);
        QSignalSpy entriesChanged(&history, &History::entriesChanged);
        QSignalSpy totalChanged(&history, &History::totalChanged);

        // Outputs 0, 1, 2, 0, 1, …: jobs without outputs, like copying, count one.
        for (int i = 0; i < 10; ++i)
            history.add(job(QStringLiteral("Job %1").arg(i), i % 3));
        EXPECT_EQ(titles(history).join(", "),
                  "Job 9, Job 8, Job 7, Job 6, Job 5, Job 4, Job 3, Job 2");
        EXPECT_EQ(history.total(), 13);
        EXPECT_EQ(entriesChanged.count(), 10);
        EXPECT_EQ(totalChanged.count(), 10);

        history.add(job(QStringLiteral("Fehlschlag"), 2, true));
        EXPECT_EQ(titles(history).first(), "Fehlschlag");
        EXPECT_EQ(history.entries().size(), History::capacity);
        EXPECT_TRUE(history.entries().first().failed);
        EXPECT_EQ(history.total(), 13);
        EXPECT_EQ(totalChanged.count(), 10);
        EXPECT_NE(history.entries()[0].id, history.entries()[1].id);
    }

    History restarted(store);
    EXPECT_TRUE(restarted.entries().isEmpty());
    EXPECT_EQ(restarted.total(), 13);
    restarted.add(job(QStringLiteral("Noch einer"), 3));
    EXPECT_EQ(History(store).total(), 16);

    // A count mangled by hand starts again rather than failing the app.
    QSettings(store, QSettings::IniFormat).setValue("totalConversions", "viele");
    EXPECT_EQ(History(store).total(), 0);
    QSettings(store, QSettings::IniFormat).setValue("totalConversions", -4);
    EXPECT_EQ(History(store).total(), 0);
}
