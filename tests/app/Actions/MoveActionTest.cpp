// Moving into a chosen folder: nothing is replaced, nothing is lost across file systems, the
// first error is shown once, and the chooser is the real dialog.
#include "Actions/MoveAction.h"

#include "Settings/UILanguage.h"
#include "TestFiles.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace tramix;
using namespace tramix::test;

namespace {

// Answers every dialog that `find` finds on screen with `answer`, from the event loop, while the
// object lives; counts them.
class DialogDriver {
public:
    DialogDriver(std::function<QWidget*()> find, std::function<void(QWidget*)> answer) {
        timer_.setInterval(20);
        QObject::connect(&timer_, &QTimer::timeout, [this, find, answer] {
            if (QWidget* dialog = find(); dialog && dialog->isVisible()) {
                ++seen;
                answer(dialog);
            }
        });
        timer_.start();
    }
    int seen = 0;

private:
    QTimer timer_;
};

template <class Dialog> Dialog* shown() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<Dialog*>(widget); dialog && dialog->isVisible())
            return dialog;
    }
    return nullptr;
}

// A folder on another file system than `than`, for moves that must copy; empty when there is
// none to write to.
QString otherFileSystem(const QString& than) {
    struct stat here, there;
    if (::stat(QFile::encodeName(than).constData(), &here) != 0)
        return {};
    for (const QString& candidate :
         {QStringLiteral("/dev/shm"), qEnvironmentVariable("XDG_RUNTIME_DIR"),
          QStringLiteral("/run/user/%1").arg(::getuid())}) {
        if (!candidate.isEmpty() && ::stat(QFile::encodeName(candidate).constData(), &there) == 0 &&
            there.st_dev != here.st_dev &&
            ::access(QFile::encodeName(candidate).constData(), W_OK) == 0)
            return candidate;
    }
    return {};
}

QByteArray noise(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& byte : bytes)
        byte = char(QRandomGenerator::global()->generate());
    return bytes;
}

struct stat statOf(const QString& path) {
    struct stat info {};
    ::lstat(QFile::encodeName(path).constData(), &info);
    return info;
}

QByteArray linkTarget(const QString& path) {
    char target[256] = {};
    return ::readlink(QFile::encodeName(path).constData(), target, sizeof target - 1) < 0
               ? QByteArray("(no link)")
               : QByteArray(target);
}

void setModified(const QString& path, time_t when) {
    const timespec times[2] = {{when, 0}, {when, 0}};
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

} // namespace

TEST(MoveAction, TakenNamesGetTheNextNumberAndCancellingMovesNothing) {
    TestFolder folder;
    const QString a = folder.file("from/a.txt", "new");
    const QString photos = folder.folder("from/Fotos");
    folder.file("from/Fotos/x.jpg", "jpg");
    const QString target = folder.folder("to");
    folder.file("to/a.txt", "old");
    QStringList revealed;
    const auto reveal = [&](const QStringList& paths) { revealed += paths; };

    MoveAction::move(
        {a, photos}, [](const QStringList&) { return std::nullopt; }, reveal);
    EXPECT_TRUE(QFileInfo::exists(a) && QFileInfo::exists(photos)) << "cancelled: nothing moves";
    EXPECT_TRUE(revealed.isEmpty()) << "and nothing is shown";

    QStringList asked;
    MoveAction::move(
        {a, photos},
        [&](const QStringList& paths) {
            asked = paths;
            return std::optional(target);
        },
        reveal);
    EXPECT_EQ(asked, (QStringList{a, photos}));
    EXPECT_EQ(namesIn(target), (QStringList{"Fotos", "a 2.txt", "a.txt"}));
    EXPECT_EQ(readBytes(target + "/a.txt"), "old") << "never replaced";
    EXPECT_EQ(readBytes(target + "/a 2.txt"), "new");
    EXPECT_EQ(readBytes(target + "/Fotos/x.jpg"), "jpg");
    EXPECT_EQ(namesIn(folder.path("from")), QStringList());
    EXPECT_EQ(revealed, (QStringList{target + "/a 2.txt", target + "/Fotos"}));
}

TEST(MoveAction, AcrossFileSystemsEveryByteLinkModeAndTimeArrivesOrNothingDoes) {
    TestFolder folder;
    const QString tmpfs = otherFileSystem(folder.path("."));
    if (tmpfs.isEmpty())
        GTEST_SKIP() << "no second writable file system (/dev/shm, XDG_RUNTIME_DIR) to move onto";
    QTemporaryDir targetDir(tmpfs + "/TramixMoveTest-XXXXXX");
    ASSERT_TRUE(targetDir.isValid());
    const QString target = targetDir.path();

    const QByteArray big = noise(3 * 1024 * 1024 + 17);
    const QString project = folder.folder("Projekt");
    folder.file("Projekt/data.bin", big);
    const QString script = folder.file("Projekt/sub/run.sh", "#!/bin/sh\n");
    ::chmod(QFile::encodeName(script).constData(), 0750);
    folder.folder("Projekt/sub/leer");
    QFile::link("data.bin", project + "/link");
    setModified(project + "/data.bin", 1000000000);
    setModified(project + "/sub", 1100000000);
    const QString single = folder.file("single.bin", noise(5000));
    ::chmod(QFile::encodeName(single).constData(), 0640);
    setModified(single, 1200000000);
    const QString dangling = folder.path("verweis");
    QFile::link("/nirgends", dangling);
    QFile(target + "/single.bin").open(QIODevice::WriteOnly);

    const QByteArray singleBytes = readBytes(single);
    const MoveAction::Outcome outcome = MoveAction::moveAll({project, single, dangling}, target);
    EXPECT_EQ(outcome.errors, QStringList());
    EXPECT_EQ(outcome.moved,
              (QStringList{target + "/Projekt", target + "/single 2.bin", target + "/verweis"}));
    EXPECT_EQ(namesIn(target), (QStringList{"Projekt", "single 2.bin", "single.bin", "verweis"}))
        << "no staging names left";
    EXPECT_EQ(folder.names(), QStringList()) << "the originals go once the copies are whole";

    EXPECT_TRUE(readBytes(target + "/Projekt/data.bin") == big);
    EXPECT_EQ(readBytes(target + "/single 2.bin"), singleBytes);
    EXPECT_EQ(linkTarget(target + "/Projekt/link"), "data.bin") << "links stay links";
    EXPECT_EQ(linkTarget(target + "/verweis"), "/nirgends");
    EXPECT_TRUE(QFileInfo(target + "/Projekt/sub/leer").isDir());
    EXPECT_EQ(statOf(target + "/Projekt/sub/run.sh").st_mode & 07777, 0750u);
    EXPECT_EQ(statOf(target + "/single 2.bin").st_mode & 07777, 0640u);
    EXPECT_EQ(statOf(target + "/Projekt/data.bin").st_mtim.tv_sec, 1000000000);
    EXPECT_EQ(statOf(target + "/Projekt/sub").st_mtim.tv_sec, 1100000000);
    EXPECT_EQ(statOf(target + "/single 2.bin").st_mtim.tv_sec, 1200000000);

    // A pipe cannot be copied: the folder holding one stays whole where it was.
    const QString broken = folder.folder("Kaputt");
    folder.file("Kaputt/a.txt", "a");
    ::mkfifo(QFile::encodeName(broken + "/rohr").constData(), 0600);
    const MoveAction::Outcome failed = MoveAction::moveAll({broken}, target);
    EXPECT_EQ(failed.errors, QStringList{"„rohr“ ist keine gewöhnliche Datei und lässt sich nicht "
                                         "auf ein anderes Laufwerk bewegen."});
    EXPECT_EQ(namesIn(broken), (QStringList{"a.txt", "rohr"}));
    EXPECT_EQ(namesIn(target), (QStringList{"Projekt", "single 2.bin", "single.bin", "verweis"}));
}

TEST(MoveAction, TheFirstErrorIsShownOnceAndWhatMovedIsRevealed) {
    TestFolder folder;
    const QStringList files = {folder.file("a.txt"), folder.file("b.txt"), folder.file("c.txt"),
                               folder.file("d.txt")};
    const QString target = folder.folder("Ziel");
    QStringList texts;
    DialogDriver driver(shown<QMessageBox>, [&](QWidget* widget) {
        auto* box = static_cast<QMessageBox*>(widget);
        texts << box->windowTitle() << box->text() << box->informativeText();
        QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    });
    QStringList revealed;
    MoveAction::move(
        files,
        [&](const QStringList&) {
            // Gone while the chooser was open.
            QFile::remove(files[1]);
            QFile::remove(files[3]);
            return std::optional(target);
        },
        [&](const QStringList& paths) { revealed += paths; });
    EXPECT_EQ(driver.seen, 1);
    EXPECT_EQ(texts, (QStringList{"Tramix", "„b.txt“ gibt es nicht mehr.",
                                  UILanguage::text("Ein weiteres Objekt blieb, wo es war.",
                                                   "One more item stayed where it was.")}));
    EXPECT_EQ(revealed, (QStringList{target + "/a.txt", target + "/c.txt"}));
}

TEST(MoveAction, TheFolderDialogChoosesWhereToOrCancels) {
    TestFolder folder;
    const QString file = folder.file("Notizen.txt");
    const QString target = folder.folder("Neues Ziel");
    QStringList seen;
    {
        DialogDriver driver(shown<QFileDialog>, [&](QWidget* widget) {
            auto* dialog = static_cast<QFileDialog*>(widget);
            auto* buttons = dialog->findChild<QDialogButtonBox*>();
            auto* name = dialog->findChild<QLineEdit*>("fileNameEdit");
            ASSERT_TRUE(buttons && name);
            QAbstractButton* accept = nullptr;
            for (QAbstractButton* button : buttons->buttons())
                if (buttons->buttonRole(button) == QDialogButtonBox::AcceptRole)
                    accept = button;
            ASSERT_TRUE(accept);
            seen << dialog->windowTitle() << accept->text();
            name->setText(target);
            QTest::mouseClick(accept, Qt::LeftButton);
        });
        const std::optional<QString> chosen = MoveAction::askForFolder({file});
        ASSERT_TRUE(chosen);
        EXPECT_EQ(QDir(*chosen).canonicalPath(), QDir(target).canonicalPath());
        EXPECT_EQ(seen, (QStringList{UILanguage::text("„Notizen.txt“ bewegen nach …",
                                                      "Move “Notizen.txt” to …"),
                                     UILanguage::text("Hierher bewegen", "Move here")}));
    }
    DialogDriver cancel(shown<QFileDialog>,
                        [](QWidget* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    EXPECT_EQ(MoveAction::askForFolder({file, target}), std::nullopt);
    EXPECT_EQ(cancel.seen, 1);
    EXPECT_EQ(MoveAction::chooserTitle({file, target}),
              UILanguage::text("2 Objekte bewegen nach …", "Move 2 items to …"));
}
