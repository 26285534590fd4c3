// The command line with inputs that users and accidents produce: odd names, pipes, and kills at
// any moment.
#include "CliRunner.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>
#include <QThread>
#include <gtest/gtest.h>
#include <random>
#include <sys/stat.h>

using namespace tramix::test;

namespace {

QProcessEnvironment withCache(const QString& cache) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CACHE_HOME"), cache);
    environment.insert(QStringLiteral("XDG_STATE_HOME"), cache);
    return environment;
}

// Shell words, so that names can be given as raw bytes the way a terminal passes them.
CliOutput runInShell(const QString& script, const QString& folder) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TRAMIX"), QStringLiteral(TRAMIX_BINARY));
    return runProgram(QStringLiteral("/bin/sh"), {"-c", script}, folder, environment);
}

// Everything under `folder` that is not one of `inputs`, hidden entries too.
QStringList strayEntries(const QString& folder, const QStringList& inputs) {
    QStringList stray;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!inputs.contains(QDir(folder).relativeFilePath(path)))
            stray.append(QDir(folder).relativeFilePath(path));
    }
    return stray;
}

// Programs still running with `folder` on their command line: tools a killed run left behind.
QStringList processesUsing(const QString& folder) {
    QStringList found;
    for (const QString& pid : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        QFile cmdline(QStringLiteral("/proc/%1/cmdline").arg(pid));
        if (pid.toInt() > 0 && cmdline.open(QIODevice::ReadOnly) &&
            cmdline.readAll().contains(QFile::encodeName(folder)))
            found.append(pid);
    }
    return found;
}

QByteArray manyRows(int count) {
    QByteArray csv = "Name,Wert,Datum,Text\n";
    for (int i = 0; i < count; ++i)
        csv += "Zeile " + QByteArray::number(i) + ',' + QByteArray::number(i * 7) +
               ",2024-05-08,\"ein etwas längerer Text mit, Komma\"\n";
    return csv;
}

} // namespace

TEST(CLIHardening, NamesThatAreNotUTF8OrHoldLineFeedsOrAreLongStillConvert) {
    TestFolder dir;
    const QString picture = saveImage(photoLike(40, 30), dir.path("bild.png"));
    const QString longName = QString(236, u'x') + QStringLiteral(".png");
    QFile::copy(picture, dir.path(longName));
    QFile::copy(picture, dir.path("zwei\nZeilen.png"));
    const auto result =
        runInShell("cp bild.png \"$(printf 'K\\366ln.png')\" && "
                   "\"$TRAMIX\" --run convert.image.jpg \"$(printf 'K\\366ln.png')\" \"$(printf "
                   "'zwei\\nZeilen.png')\" " +
                       longName,
                   dir.path("."));
    ASSERT_EQ(result.status, 0) << result.out.toStdString() << result.err.toStdString();
    // Inputs run side by side, so results are listed in the order they finish.
    const QStringList lines = result.lines();
    ASSERT_EQ(lines.size(), 4) << result.out.toStdString();
    const QStringList outputs = lines.mid(0, 3);
    EXPECT_TRUE(outputs.contains(dir.path("Köln.jpg"))) << result.out.toStdString();
    EXPECT_TRUE(outputs.contains(dir.path("zwei\\nZeilen.jpg")));
    EXPECT_TRUE(QFileInfo::exists(dir.path("zwei\nZeilen.jpg")));
    const QString shortened = outputs.filter(QStringLiteral("xxx")).value(0);
    EXPECT_TRUE(QFileInfo::exists(shortened));
    EXPECT_LE(QFile::encodeName(QFileInfo(shortened).fileName()).size(), 255);
}

TEST(CLIHardening, PipesAndDevicesAreRefusedAtOnceWhileTheOtherFilesFinish) {
    TestFolder dir;
    saveImage(photoLike(40, 30), dir.path("bild.png"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(dir.path("rohr.png")).constData(), 0644), 0);
    QFile::link(QStringLiteral("/dev/zero"), dir.path("null.png"));
    const auto result = runTramix(
        {"--run", "convert.image.jpg", "rohr.png", "null.png", "bild.png"}, dir.path("."));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.out.contains("FEHLER rohr.png: „rohr.png“ ist keine gewöhnliche Datei.\n"))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("FEHLER null.png: „null.png“ ist keine gewöhnliche Datei.\n"));
    EXPECT_TRUE(QFileInfo::exists(dir.path("bild.jpg")));
}

TEST(CLIHardening, KilledJobsLeaveNothingThatTheNextRunDoesNotSweep) {
    TestFolder dir;
    const QString cache = dir.folder("cache");
    const QString work = dir.folder("arbeit");
    saveImage(photoLike(3000, 2000), work + "/foto.png");
    QStringList pages;
    for (int i = 1; i <= 12; ++i)
        pages.append(QStringLiteral("Seite %1").arg(i));
    dir.file("arbeit/seiten.pdf", textPDF(pages));
    dir.file("arbeit/tabelle.csv", manyRows(120000));
    const QStringList inputs{"foto.png", "seiten.pdf", "tabelle.csv"};
    const QList<QStringList> jobs{{"convert.image.heic", "foto.png"},
                                  {"convert.pdf.png", "seiten.pdf"},
                                  {"convert.sheet.xlsx", "tabelle.csv"},
                                  {"convert.sheet.json", "tabelle.csv"}};
    std::mt19937 random(20261123);
    constexpr int kills = 30;
    for (int i = 0; i < kills; ++i) {
        const QStringList& job = jobs[i % jobs.size()];
        QProcess tramix;
        tramix.setProcessEnvironment(withCache(cache));
        tramix.setWorkingDirectory(work);
        tramix.start(QStringLiteral(TRAMIX_BINARY), QStringList{"--run"} + job);
        ASSERT_TRUE(tramix.waitForStarted());
        QThread::msleep(std::uniform_int_distribution(20, 900)(random));
        tramix.kill();
        tramix.waitForFinished();
        SCOPED_TRACE(job.join(u' ').toStdString());
        // A job that finished before the kill leaves its result; that is no leftover.
        for (const QString& entry : strayEntries(work, inputs)) {
            EXPECT_FALSE(entry.endsWith(".part") && QFileInfo(work + '/' + entry).isFile())
                << entry.toStdString();
            if (!entry.startsWith('.') && !entry.contains('/'))
                QFileInfo(work + '/' + entry).isDir()
                    ? (void)QDir(work + '/' + entry).removeRecursively()
                    : (void)QFile::remove(work + '/' + entry);
        }
        QThread::msleep(20); // a tool outliving us would still be in the process table now
        EXPECT_EQ(processesUsing(work), QStringList());
    }
    // Listing must stay fast and sweeps nothing; the next run sweeps everything.
    runProgram(QStringLiteral(TRAMIX_BINARY), {"--list", "convert", "foto.png"}, work,
               withCache(cache));
    const auto run = runProgram(QStringLiteral(TRAMIX_BINARY),
                                {"--run", "convert.image.jpg", "foto.png"}, work, withCache(cache));
    ASSERT_EQ(run.status, 0) << run.out.toStdString();
    EXPECT_EQ(strayEntries(work, inputs + QStringList{"foto.jpg"}), QStringList());
    EXPECT_EQ(strayEntries(cache, {"Tramix", "Tramix/scratch", "Tramix/running",
                                   "Tramix/Tramix.log", "Tramix/image-formats"}),
              QStringList());
}
