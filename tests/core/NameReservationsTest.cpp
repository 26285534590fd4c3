#include "NameReservations.h"

#include "ConversionError.h"
#include "OutputContext.h"
#include "TestFiles.h"

#include <QFileInfo>
#include <algorithm>
#include <barrier>
#include <gtest/gtest.h>
#include <thread>

namespace NameReservations = tramix::NameReservations;
using tramix::OutputContext;
using tramix::test::TestFolder;

// Every test works in its own temporary folder, so reservations left behind by one test cannot
// collide with another's names.

namespace {

std::string str(const QString& text) {
    return text.toStdString();
}

std::string name(const QString& path) {
    return str(QFileInfo(path).fileName());
}

} // namespace

TEST(NameReservations, ExistingFilesAndReservationsAreSkipped) {
    TestFolder dir;
    dir.file("a.pdf");
    const QString second = OutputContext{}.destination(dir.file("a.png"), "pdf");
    EXPECT_EQ(str(second), str(dir.path("a 2.pdf")));
    // Once written, the file itself keeps the name taken.
    dir.file("a 2.pdf");
    NameReservations::release({second});
    EXPECT_EQ(name(OutputContext{}.destination(dir.path("a.png"), "pdf")), "a 3.pdf");

    const QString x = dir.path("x.jpg");
    EXPECT_EQ(str(NameReservations::unique(x)), str(x));
    EXPECT_EQ(name(NameReservations::unique(x)), "x 2.jpg");
    NameReservations::release({x, dir.path("never reserved.jpg")});
    EXPECT_EQ(str(NameReservations::unique(x)), str(x));
}

TEST(NameReservations, CompoundHiddenAndSuffixedNames) {
    TestFolder dir;
    const OutputContext context;
    EXPECT_EQ(name(context.destination(dir.file("data.tar.gz"), "zip")), "data.zip");
    EXPECT_EQ(name(context.destination(dir.file("Backup.TAR.GZ"), "zip")), "Backup.zip");
    // The number goes before the whole ".tar.gz", not between "tar" and "gz".
    EXPECT_EQ(name(NameReservations::unique(dir.file("Archiv.tar.gz"))), "Archiv 2.tar.gz");
    // A leading dot is part of the name, not an extension.
    EXPECT_EQ(name(NameReservations::unique(dir.file(".profile"))), ".profile 2");
    EXPECT_EQ(name(context.destination(dir.file("clip.mov"), "mp4", "S")), "clip S.mp4");
}

TEST(NameReservations, SharedFolderNumbersOutputsAgainstEachOther) {
    TestFolder dir;
    const QString out = dir.folder("Ausgabe");
    const OutputContext context{out, 0.85};
    EXPECT_EQ(str(context.destination(dir.file("eins/p.png"), "jpg")), str(out + "/p.jpg"));
    EXPECT_EQ(str(context.destination(dir.file("zwei/p.png"), "jpg")), str(out + "/p 2.jpg"));
    EXPECT_EQ(str(context.destinationNamed("p.jpg", dir.path("drei/q.zip"))),
              str(out + "/p 3.jpg"));
    // Without a folder each output goes next to its own input.
    EXPECT_EQ(str(OutputContext{}.destination(dir.path("zwei/p.png"), "jpg")),
              str(dir.path("zwei/p.jpg")));
}

TEST(NameReservations, MakeFolderCreatesAUniqueFolder) {
    TestFolder dir;
    const QString input = dir.file("Bericht.pdf");
    const QString first = OutputContext{}.makeFolder(input, "Seiten");
    const QString second = OutputContext{}.makeFolder(input, "Seiten");
    EXPECT_EQ(str(first), str(dir.path("Bericht Seiten")));
    EXPECT_EQ(str(second), str(dir.path("Bericht Seiten 2")));
    EXPECT_TRUE(QFileInfo(first).isDir() && QFileInfo(second).isDir());
    // A regular file cannot hold a folder.
    const OutputContext blocked{dir.file("plain.txt"), 0.85};
    EXPECT_THROW(blocked.makeFolder(input), tramix::ConversionError);
}

TEST(NameReservations, ConcurrentCallersNeverShareANameAndLeaveNoGaps) {
    constexpr int threads = 16, perThread = 50;
    TestFolder dir;
    std::vector<std::vector<std::string>> got(threads);
    {
        // Start all threads together so that they really contend for the lock.
        std::barrier start(threads);
        std::vector<std::jthread> workers;
        for (int t = 0; t < threads; ++t) {
            workers.emplace_back([&, t] {
                start.arrive_and_wait();
                for (int i = 0; i < perThread; ++i)
                    got[t].push_back(name(NameReservations::unique(dir.path("x.jpg"))));
            });
        }
    }
    std::vector<std::string> all, expected = {"x.jpg"};
    for (const auto& names : got)
        all.insert(all.end(), names.begin(), names.end());
    for (int n = 2; n <= threads * perThread; ++n)
        expected.push_back("x " + std::to_string(n) + ".jpg");
    std::sort(all.begin(), all.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(all, expected);
}
