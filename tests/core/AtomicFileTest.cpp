#include "AtomicFile.h"

#include "ConversionError.h"
#include "NameReservations.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace tramix;
using tramix::test::errorOf;
using tramix::test::TestFolder;

TEST(AtomicFile, FailedWritesLeaveNothingAndGiveTheNameBack) {
    TestFolder dir;
    const QString destination = NameReservations::unique(dir.path("out.png"));
    EXPECT_THROW(AtomicFile::write(destination,
                                   [](const QString& temporary) {
                                       QFile file(temporary);
                                       file.open(QIODevice::WriteOnly);
                                       file.write("half");
                                       throw std::runtime_error("encoder died");
                                   }),
                 std::runtime_error);
    EXPECT_TRUE(QDir(dir.path(".")).entryList(QDir::Files | QDir::Hidden).isEmpty());
    EXPECT_EQ(NameReservations::unique(dir.path("out.png")), destination) << "name given back";

    AtomicFile::writeBytes(destination, [] { return QByteArray("whole"); });
    QFile written(destination);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), "whole");
    EXPECT_EQ(QDir(dir.path(".")).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST(AtomicFile, NeverReplacesAFileThatAppearedMeanwhile) {
    TestFolder dir;
    const QString destination = NameReservations::unique(dir.path("report.pdf"));
    dir.file("report.pdf", "the user's own");
    EXPECT_THROW(AtomicFile::writeBytes(destination, [] { return QByteArray("ours"); }),
                 ConversionError);
    QFile kept(destination);
    ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
    EXPECT_EQ(kept.readAll(), "the user's own");
    EXPECT_EQ(QDir(dir.path(".")).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

namespace {

void fill(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::NewOnly));
    file.write(bytes);
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

QStringList everything(const TestFolder& dir) {
    return QDir(dir.path(".")).entryList(QDir::Files | QDir::Hidden);
}

} // namespace

TEST(AtomicFile, WritesSeveralResultsAllOrNone) {
    TestFolder dir;
    QStringList names;
    for (const char* name : {"Teil 1.pdf", "Teil 2.pdf", "Teil 3.pdf"})
        names.append(NameReservations::unique(dir.path(name)));

    // Fails after two of three are written: no temporary, no result, names given back.
    EXPECT_THROW(AtomicFile::writeAll(names,
                                      [&](const QStringList& temporaries) {
                                          ASSERT_EQ(temporaries.size(), 3);
                                          fill(temporaries[0], "one");
                                          fill(temporaries[1], "two");
                                          throw std::runtime_error("disk full");
                                      }),
                 std::runtime_error);
    EXPECT_TRUE(everything(dir).isEmpty());
    for (const QString& name : names)
        EXPECT_EQ(NameReservations::unique(name), name) << "name given back";

    // A name taken meanwhile stops the lot: the user's file stays as it was, and the results
    // already moved into place before it are taken away again.
    dir.file("Teil 2.pdf", "the user's own");
    EXPECT_NE(errorOf([&] {
                  AtomicFile::writeAll(names, [](const QStringList& temporaries) {
                      for (const QString& temporary : temporaries)
                          fill(temporary, "ours");
                  });
              }),
              "(no error)");
    EXPECT_EQ(everything(dir), QStringList{"Teil 2.pdf"});
    EXPECT_EQ(contentOf(dir.path("Teil 2.pdf")), "the user's own");

    // Written whole, each under its own name, with the temporaries beside them.
    QFile::remove(dir.path("Teil 2.pdf"));
    for (const QString& name : names)
        NameReservations::unique(name);
    AtomicFile::writeAll(names, [&](const QStringList& temporaries) {
        for (qsizetype i = 0; i < temporaries.size(); ++i) {
            EXPECT_EQ(QFileInfo(temporaries[i]).absolutePath(), QFileInfo(names[i]).absolutePath());
            EXPECT_FALSE(QFileInfo::exists(names[i])) << "not in place before all are done";
            fill(temporaries[i], names[i].toUtf8());
        }
    });
    EXPECT_EQ(everything(dir), (QStringList{"Teil 1.pdf", "Teil 2.pdf", "Teil 3.pdf"}));
    for (const QString& name : names)
        EXPECT_EQ(contentOf(name), name.toUtf8());
}
