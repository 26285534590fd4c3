#include "NameReservations.h"

#include "ConversionError.h"
#include "FolderTree.h"
#include "NameReservation.h"
#include "OutputContext.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <barrier>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace tramix;
using test::TestFolder;

namespace {

QString name(const NameReservation& reservation) {
    return QFileInfo(reservation.path()).fileName();
}

// Stands in for a converter's last step: claims the name with an exclusive create.
bool createFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
}

} // namespace

TEST(NameReservations, ANameIsHeldUntilItsReservationIsDroppedOrCommitted) {
    TestFolder dir;
    const QString x = dir.path("x.jpg");
    std::vector<NameReservation> held;
    held.emplace_back(x);
    // Moved into the list: the temporary it came from must not give the name back.
    held.push_back(NameReservation(x));
    EXPECT_EQ(held[0].path(), x);
    EXPECT_EQ(name(held[1]), "x 2.jpg");
    EXPECT_EQ(name(NameReservation(x)), "x 3.jpg");
    EXPECT_EQ(name(NameReservation(x)), "x 3.jpg") << "dropped unused, a name is free again";
    held[1] = NameReservation(x);
    EXPECT_EQ(name(held[1]), "x 3.jpg");
    EXPECT_EQ(name(NameReservation(x)), "x 2.jpg") << "replaced, a reservation gives its name back";

    EXPECT_EQ(held[0].commit(&createFile), x);
    EXPECT_EQ(name(NameReservation(x)), "x 2.jpg") << "the file now holds its name";
    QFile::remove(x);
    EXPECT_EQ(NameReservation(x).path(), x) << "committed, the table holds the name no longer";
}

TEST(NameReservations, DestinationsAreNumberedBeforeTheWholeExtension) {
    TestFolder dir;
    const OutputContext beside;
    dir.file("a.pdf");
    EXPECT_EQ(name(beside.destination(dir.file("a.png"), "pdf")), "a 2.pdf");
    EXPECT_EQ(name(beside.destination(dir.file("Backup.TAR.GZ"), "zip")), "Backup.zip");
    // The number goes before the whole ".tar.gz", not between "tar" and "gz".
    EXPECT_EQ(name(NameReservation(dir.file("Archiv.tar.gz"))), "Archiv 2.tar.gz");
    // A leading dot is part of the name, not an extension.
    EXPECT_EQ(name(NameReservation(dir.file(".profile"))), ".profile 2");
    EXPECT_EQ(name(beside.destination(dir.file("clip.mov"), "mp4", "S")), "clip S.mp4");
    EXPECT_EQ(beside.destination(dir.path("zwei/p.png"), "jpg").path(), dir.path("zwei/p.jpg"));

    // A shared output folder numbers the outputs of all inputs against each other.
    const QString out = dir.folder("Ausgabe");
    const OutputContext shared{out, 0.85};
    const NameReservation first = shared.destination(dir.file("eins/p.png"), "jpg");
    const NameReservation second = shared.destination(dir.file("zwei/p.png"), "jpg");
    const NameReservation third = shared.destinationNamed("p.jpg", dir.path("drei/q.zip"));
    EXPECT_EQ(first.path(), out + "/p.jpg");
    EXPECT_EQ(second.path(), out + "/p 2.jpg");
    EXPECT_EQ(third.path(), out + "/p 3.jpg");
}

TEST(NameReservations, ACommitNeverReplacesWhatAnotherProgramMadeMeanwhile) {
    TestFolder dir;
    NameReservation notes(dir.path("notes.txt"));
    // Between reservation and commit, another program writes both the name and the next one.
    dir.file("notes.txt", "theirs");
    EXPECT_EQ(notes.commit([&](const QString& path) {
        if (path.endsWith(u"notes 2.txt"))
            dir.file("notes 2.txt", "theirs too");
        return createFile(path);
    }),
              dir.path("notes 3.txt"));
    EXPECT_EQ(notes.path(), dir.path("notes 3.txt"));
    EXPECT_EQ(test::readText(dir.path("notes.txt")), "theirs");

    NameReservation pages(dir.path("Seiten"));
    dir.file("Seiten/eigene.txt", "theirs");
    EXPECT_EQ(pages.commit(&FolderTree::createNew), dir.path("Seiten 2"));
    EXPECT_EQ(test::namesIn(dir.path("Seiten")), QStringList{"eigene.txt"});

    // A finished folder moved into place does not replace even an empty one.
    const QString staged = QFileInfo(dir.file(".Fotos.part/bild.jpg", "ours")).absolutePath();
    NameReservation photos(dir.path("Fotos"));
    dir.folder("Fotos");
    EXPECT_EQ(
        photos.commit([&](const QString& path) { return FolderTree::moveIntoPlace(staged, path); }),
        dir.path("Fotos 2"));
    EXPECT_TRUE(QDir(dir.path("Fotos")).isEmpty());
    EXPECT_TRUE(QFileInfo::exists(dir.path("Fotos 2/bild.jpg")));
}

TEST(NameReservations, FoldersNeverReuseAnExistingOne) {
    TestFolder dir;
    const QString input = dir.file("Bericht.pdf");
    dir.file("Bericht Seiten/eigene.txt", "the user's own");
    const QString first = OutputContext{}.makeFolder(input, "Seiten");
    EXPECT_EQ(first, dir.path("Bericht Seiten 2"));
    EXPECT_TRUE(QFileInfo(first).isDir() && QDir(first).isEmpty());
    EXPECT_EQ(OutputContext{}.makeFolder(input, "Seiten"), dir.path("Bericht Seiten 3"));
    // A regular file cannot hold a folder.
    const OutputContext blocked{dir.file("plain.txt"), 0.85};
    EXPECT_THROW(blocked.makeFolder(input), ConversionError);
}

TEST(NameReservations, ConcurrentCallersNeverShareANameAndLeaveNoGaps) {
    constexpr int threads = 16, perThread = 50;
    TestFolder dir;
    std::vector<std::vector<NameReservation>> held(threads);
    {
        // Start all threads together so that they really contend for the lock.
        std::barrier start(threads);
        std::vector<std::jthread> workers;
        for (int t = 0; t < threads; ++t) {
            workers.emplace_back([&, t] {
                start.arrive_and_wait();
                for (int i = 0; i < perThread; ++i)
                    held[t].emplace_back(dir.path("x.jpg"));
            });
        }
    }
    QStringList all, expected = {"x.jpg"};
    for (const auto& reservations : held) {
        for (const NameReservation& reservation : reservations)
            all.append(name(reservation));
    }
    for (int n = 2; n <= threads * perThread; ++n)
        expected.append(QString("x %1.jpg").arg(n));
    all.sort();
    expected.sort();
    EXPECT_EQ(all, expected);
}
