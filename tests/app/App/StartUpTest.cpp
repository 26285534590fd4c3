// What a command maps: the light core alone to list a PDF's operations or to convert a table,
// the image library but no other engine to convert a photo; and an installed copy finds the
// libraries it opens.
#include "TestFiles.h"
#include "TestImages.h"
#include "app/App/CliRunner.h"

#include <QFile>
#include <QTest>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

using tramix::test::TestFolder;

constexpr int commandTimeout = 60000; // ms, for a sanitizer build on a busy machine

struct Mapped {
    QString maps;
    QByteArray out;
    int status = -1;
};

// A pipe whose buffer is already full, so the command stops at its first write, with every
// library it needed already loaded, until the test reads.
struct FullPipe {
    int fds[2] = {-1, -1};
    FullPipe() {
        if (::pipe(fds) != 0)
            return;
        ::fcntl(fds[1], F_SETFL, O_NONBLOCK);
        const QByteArray filler(4096, 'x');
        while (::write(fds[1], filler.constData(), filler.size()) > 0) {
        }
        ::fcntl(fds[1], F_SETFL, 0);
    }
    ~FullPipe() {
        for (int fd : fds) {
            if (fd >= 0)
                ::close(fd);
        }
    }
};

bool blockedInWrite(pid_t pid) {
    QFile syscall(QStringLiteral("/proc/%1/syscall").arg(pid));
    return syscall.open(QIODevice::ReadOnly) && syscall.readAll().startsWith("1 ");
}

Mapped runAndReadMaps(const QStringList& args) {
    FullPipe pipe;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe.fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipe.fds[0]);
    QList<QByteArray> bytes{TRAMIX_BINARY};
    for (const QString& arg : args)
        bytes.append(arg.toUtf8());
    std::vector<char*> argv;
    for (QByteArray& arg : bytes)
        argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    Mapped result;
    const int spawned = posix_spawn(&pid, TRAMIX_BINARY, &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return result;
    ::close(pipe.fds[1]);
    pipe.fds[1] = -1;
    if (QTest::qWaitFor([&] { return blockedInWrite(pid); }, commandTimeout)) {
        QFile maps(QStringLiteral("/proc/%1/maps").arg(pid));
        if (maps.open(QIODevice::ReadOnly))
            result.maps = QString::fromUtf8(maps.readAll());
    }
    char buffer[65536];
    ssize_t got = 0;
    while ((got = ::read(pipe.fds[0], buffer, sizeof buffer)) > 0)
        result.out.append(buffer, got);
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

// The heavy engines' libraries that `maps` holds.
QStringList enginesIn(const QString& maps) {
    QStringList found;
    for (const char* library : {"libvips", "libpoppler", "libtesseract", "libexiv2", "libopencv",
                                "libQt6Widgets", "libtramix-desktop"}) {
        if (maps.contains(QLatin1String(library)))
            found.append(QLatin1String(library));
    }
    return found;
}

} // namespace

TEST(StartUp, EachCommandMapsOnlyTheEnginesItNeeds) {
    TestFolder folder;
    const QString pdf = folder.file("a.pdf", "%PDF-1.4\n");
    const QString jpg =
        tramix::test::saveImage(tramix::test::photoLike(64, 48), folder.path("b.jpg"));
    const QString csv = folder.file("c.csv", "Name,Zahl\nAnna,1\n");

    const Mapped listPDF = runAndReadMaps({"--list", "convert", pdf});
    ASSERT_FALSE(listPDF.maps.isEmpty()) << "never reached its output";
    EXPECT_EQ(listPDF.status, 0);
    EXPECT_TRUE(listPDF.out.contains("convert.pdf.png\t"));
    EXPECT_EQ(enginesIn(listPDF.maps), QStringList());

    const Mapped table = runAndReadMaps({"--run", "convert.sheet.json", csv});
    EXPECT_EQ(table.status, 0) << table.out.right(400).toStdString();
    EXPECT_TRUE(QFile::exists(folder.path("c.json")));
    EXPECT_EQ(enginesIn(table.maps), QStringList());

    // Listing a photo asks libvips which formats it writes, once per installation: the answer is
    // kept, and a stale one is asked again. Converting it needs nothing more. (libvips opens its
    // own loaders, poppler's among them, when it starts.)
    const QByteArray userCache = qgetenv("XDG_CACHE_HOME");
    qputenv("XDG_CACHE_HOME", folder.path("cache").toUtf8());
    const Mapped asked = runAndReadMaps({"--list", "convert", jpg});
    EXPECT_TRUE(asked.out.contains("convert.image.png\t"));
    EXPECT_TRUE(asked.maps.contains("libvips"));
    const Mapped known = runAndReadMaps({"--list", "convert", jpg});
    EXPECT_EQ(known.out, asked.out);
    EXPECT_EQ(enginesIn(known.maps), QStringList());
    folder.file("cache/Tramix/image-formats", "an older installation\nbmp\n");
    const Mapped stale = runAndReadMaps({"--list", "convert", jpg});
    EXPECT_EQ(stale.out, asked.out);
    EXPECT_TRUE(stale.maps.contains("libvips"));
    const Mapped photo = runAndReadMaps({"--run", "convert.image.png", jpg});
    qputenv("XDG_CACHE_HOME", userCache);
    EXPECT_EQ(photo.status, 0) << photo.out.right(400).toStdString();
    EXPECT_TRUE(QFile::exists(folder.path("b.png")));
    for (const Mapped* run : {&asked, &photo}) {
        for (const char* library : {"libtesseract", "libopencv", "libQt6Widgets", "libtramix-pdf"})
            EXPECT_FALSE(run->maps.contains(QLatin1String(library))) << library;
    }
}

TEST(StartUp, AnInstalledCopyOpensItsLibraries) {
    TestFolder prefix;
    const auto install =
        tramix::test::runProgram(TRAMIX_CMAKE, {"--install", TRAMIX_BUILD_DIR, "--component",
                                                "Unspecified", "--prefix", prefix.path("usr")});
    ASSERT_EQ(install.status, 0) << install.err.toStdString();
    const QString installed = prefix.path("usr/bin/tramix");
    TestFolder work;
    const QString jpg =
        tramix::test::saveImage(tramix::test::photoLike(32, 24), work.path("p.jpg"));

    const auto listed = tramix::test::runProgram(installed, {"--list", "convert", jpg});
    EXPECT_EQ(listed.status, 0) << listed.out.toStdString();
    EXPECT_TRUE(listed.out.contains("convert.image.png\t"));
    // A drawing opens the desktop library from the installed folder too.
    const auto drawn =
        tramix::test::runProgram(installed, {"--render-icon", work.path("icon.png"), "32"});
    EXPECT_EQ(drawn.status, 0) << drawn.out.toStdString();
    EXPECT_EQ(tramix::test::sizeOf(work.path("icon.png")), "32 x 32");
}
