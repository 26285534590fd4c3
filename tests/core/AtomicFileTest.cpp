#include "AtomicFile.h"

#include "ConversionError.h"
#include "NameReservations.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace tramix;
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
