// What another application gets when it pastes after Copy or Path: the clipboard is owned by a
// program that copies through the file actions and read by a second one, both on the X display.
#include "TestFiles.h"
#include "app/Drag/DragHarness.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QUrl>
#include <gtest/gtest.h>

using namespace tramix::test;

namespace {

// The clipboard as ClipboardReader pastes it: MIME type → data.
QJsonObject pasted() {
    QProcess reader;
    reader.start(QStringLiteral(CLIPBOARD_READER_BINARY));
    if (!reader.waitForFinished(startDeadlineMs) || reader.exitCode() != 0) {
        ADD_FAILURE() << "the reader failed: " << reader.readAllStandardError().toStdString();
        return {};
    }
    return QJsonDocument::fromJson(reader.readAllStandardOutput()).object();
}

} // namespace

TEST(ClipboardActions, AnotherApplicationPastesTheFilesAsFilesAndThePathsAsLines) {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        GTEST_SKIP() << "needs an X display (scripts/test starts Xvfb)";
    TestFolder folder;
    const QStringList files = {folder.file("Urlaub am Meer.png"), folder.file("Ä/b#1.pdf"),
                               folder.folder("Ordner")};
    {
        ChildProcess owner(CLIPBOARD_OWNER_BINARY, QStringList{"copy"} + files);
        ASSERT_TRUE(owner.waitFor(QRegularExpression("^ready$"), startDeadlineMs))
            << owner.allLines().join('\n').toStdString();
        const QJsonObject offered = pasted();

        const QStringList lines = offered["text/uri-list"].toString().split("\r\n");
        ASSERT_EQ(lines.size(), 4) << "three URIs, each line ended by CR LF";
        EXPECT_EQ(lines[3], "");
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(lines[i].startsWith("file:///")) << lines[i].toStdString();
            EXPECT_EQ(QUrl(lines[i]).toLocalFile(), files[i]);
        }
        EXPECT_EQ(offered["x-special/gnome-copied-files"].toString(),
                  "copy\n" + lines.mid(0, 3).join('\n'));
        EXPECT_EQ(offered["text/plain"].toString(), files.join('\n'));
    }
    {
        ChildProcess owner(CLIPBOARD_OWNER_BINARY, QStringList{"path"} + files);
        ASSERT_TRUE(owner.waitFor(QRegularExpression("^ready$"), startDeadlineMs));
        const QJsonObject offered = pasted();
        EXPECT_EQ(offered["text/plain"].toString(), files.join('\n')) << "no line feed at the end";
        EXPECT_FALSE(offered.contains("text/uri-list")) << "paths are text, not files";
    }
}
