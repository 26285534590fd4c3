#include "AtomicFile.h"

#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace tramix;
using test::readText;

namespace {

// As writers do: open the path they are given and write.
void fill(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

std::vector<NameReservation> reserve(const test::TestFolder& dir, const QStringList& names) {
    std::vector<NameReservation> reserved;
    for (const QString& name : names)
        reserved.emplace_back(dir.path(name));
    return reserved;
}

} // namespace

TEST(AtomicFile, FailedWritesLeaveNothingAndATakenNameMovesOnWithoutReplacing) {
    test::TestFolder dir;
    EXPECT_THROW(AtomicFile::write(NameReservation(dir.path("out.png")),
                                   [&](const QString& temporary) {
                                       fill(temporary, "half");
                                       EXPECT_TRUE(dir.names().isEmpty())
                                           << "no name while written";
                                       throw std::runtime_error("encoder died");
                                   }),
                 std::runtime_error);
    EXPECT_TRUE(dir.names().isEmpty());
    // The failed write gave its name back.
    EXPECT_EQ(AtomicFile::writeBytes(NameReservation(dir.path("out.png")), [] { return "whole"; }),
              dir.path("out.png"));
    EXPECT_EQ(readText(dir.path("out.png")), "whole");

    NameReservation report(dir.path("report.pdf"));
    dir.file("report.pdf", "the user's own");
    EXPECT_EQ(AtomicFile::writeBytes(std::move(report), [] { return "ours"; }),
              dir.path("report 2.pdf"));
    EXPECT_EQ(readText(dir.path("report.pdf")), "the user's own");
    EXPECT_EQ(readText(dir.path("report 2.pdf")), "ours");
    EXPECT_EQ(dir.names(), (QStringList{"out.png", "report 2.pdf", "report.pdf"}));
}

TEST(AtomicFile, WritesSeveralResultsAllOrNone) {
    test::TestFolder dir;
    const QStringList names{"Teil 1.pdf", "Teil 2.pdf", "Teil 3.pdf"};

    // Fails after two of three are written: no temporary, no result, names given back.
    EXPECT_THROW(AtomicFile::writeAll(reserve(dir, names),
                                      [&](const QStringList& temporaries) {
                                          ASSERT_EQ(temporaries.size(), 3);
                                          fill(temporaries[0], "one");
                                          fill(temporaries[1], "two");
                                          throw std::runtime_error("disk full");
                                      }),
                 std::runtime_error);
    EXPECT_TRUE(dir.names().isEmpty());

    // Written whole, each under its own name; a name that another program took meanwhile moves
    // on to the next free one for that file alone.
    std::vector<NameReservation> reserved = reserve(dir, names);
    for (qsizetype i = 0; i < names.size(); ++i)
        EXPECT_EQ(reserved[size_t(i)].path(), dir.path(names[i])) << "name given back";
    dir.file("Teil 2.pdf", "the user's own");
    const QStringList written =
        AtomicFile::writeAll(std::move(reserved), [&](const QStringList& temporaries) {
            for (qsizetype i = 0; i < temporaries.size(); ++i)
                fill(temporaries[i], names[i].toUtf8());
            EXPECT_EQ(dir.names().size(), 1) << "none in place before all are done";
        });
    EXPECT_EQ(written, (QStringList{dir.path("Teil 1.pdf"), dir.path("Teil 2 2.pdf"),
                                    dir.path("Teil 3.pdf")}));
    EXPECT_EQ(dir.names(), (QStringList{"Teil 1.pdf", "Teil 2 2.pdf", "Teil 2.pdf", "Teil 3.pdf"}));
    EXPECT_EQ(readText(dir.path("Teil 2.pdf")), "the user's own");
    for (qsizetype i = 0; i < names.size(); ++i)
        EXPECT_EQ(readText(written[i]), names[i]);
}

TEST(AtomicFile, FoldersAppearWholeAndALinkAtTheNameIsNeverFollowed) {
    test::TestFolder dir;
    const QString victim = dir.folder("fremd");
    EXPECT_THROW(AtomicFile::writeFolder(NameReservation(dir.path("Seiten")),
                                         [&](const QString& staging) {
                                             fill(staging + "/Seite 1.png", "eins");
                                             throw std::runtime_error("page 2 failed");
                                         }),
                 std::runtime_error);
    EXPECT_EQ(dir.names(), QStringList{"fremd"}) << "no half folder";

    // A link put where the result goes: the folder takes the next name, the link's target stays
    // untouched.
    NameReservation pages(dir.path("Seiten"));
    QFile::link(victim, dir.path("Seiten"));
    const QString written = AtomicFile::writeFolder(std::move(pages), [&](const QString& staging) {
        fill(staging + "/Seite 1.png", "eins");
        fill(staging + "/Seite 2.png", "zwei");
        EXPECT_FALSE(QFileInfo::exists(dir.path("Seiten 2"))) << "no name before it is whole";
    });
    EXPECT_EQ(written, dir.path("Seiten 2"));
    EXPECT_EQ(test::namesIn(written), (QStringList{"Seite 1.png", "Seite 2.png"}));
    EXPECT_TRUE(test::namesIn(victim).isEmpty());
    EXPECT_EQ(dir.names(), (QStringList{"Seiten", "Seiten 2", "fremd"}));
}
