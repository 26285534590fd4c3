// The wheel's actions as the tray app gets them: a file deleted between drag and drop stops every
// one of them before it does anything.
#include "Actions/FileActions.h"

#include "TestFiles.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QGuiApplication>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

TEST(FileActions, AFileGoneBetweenDragAndDropStopsEveryActionBeforeItStarts) {
    TestFolder folder;
    const QString kept = folder.file("bleibt.txt");
    const QString gone = folder.file("weg.txt");
    const QString target = folder.folder("Ziel");
    int asked = 0;
    FileActions::Setup setup;
    setup.chooseFolder = [&](const QStringList&) {
        ++asked;
        return std::optional(target);
    };
    setup.chooseDevice = [&](const QStringList&) {
        ++asked;
        return std::optional<qsizetype>(0);
    };
    setup.reveal = [&](const QStringList&) { ++asked; };
    setup.bus = QDBusConnection(QStringLiteral("nowhere")); // never connected
    const DesktopHandlers desktop = FileActions::handlers(setup);
    EXPECT_FALSE(desktop.shelve) << "the shelf is not ours";

    QGuiApplication::clipboard()->setText(QStringLiteral("vorher"));
    QFile::remove(gone);
    const QStringList paths = {kept, gone};
    for (const auto& [action, handler] :
         {std::pair("share", desktop.share), std::pair("copy", desktop.copyFiles),
          std::pair("move", desktop.move), std::pair("path", desktop.copyPaths),
          std::pair("terminal", desktop.openTerminal)}) {
        EXPECT_EQ(errorOf([&] { handler(paths); }), "„weg.txt“ gibt es nicht mehr.") << action;
    }
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "vorher");
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(namesIn(target), QStringList());

    // With every file there they go ahead.
    desktop.copyPaths({kept, target});
    EXPECT_EQ(QGuiApplication::clipboard()->text(), kept + '\n' + target);
    desktop.move({kept});
    EXPECT_EQ(asked, 2) << "chosen and revealed";
    EXPECT_EQ(namesIn(target), QStringList{"bleibt.txt"});
}
