#include "Settings/LoginItem.h"

#include "TestFiles.h"

#include <QFile>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace tramix;

TEST(LoginItem, WritesAStartableEntryAndHonoursADesktopThatDisabledIt) {
    test::TestFolder folder;
    const QString entry = folder.path("autostart/tramix.desktop");
    const LoginItem item(entry, QStringLiteral("/opt/My Apps/tramix"));
    EXPECT_FALSE(item.isEnabled());

    item.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());
    QFile file(entry);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    file.close();
    EXPECT_TRUE(text.startsWith("[Desktop Entry]\n"));
    EXPECT_TRUE(text.contains("\nType=Application\n"));
    EXPECT_TRUE(text.contains("\nExec=\"/opt/My Apps/tramix\"\n")) << text.toStdString();

    // The desktop's own switch for autostart entries turns it off without removing it.
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Append));
    file.write("Hidden=true\n");
    file.close();
    EXPECT_FALSE(item.isEnabled());
    item.setEnabled(true);
    EXPECT_TRUE(item.isEnabled());

    item.setEnabled(false);
    EXPECT_FALSE(QFile::exists(entry));
    EXPECT_FALSE(item.isEnabled());
    item.setEnabled(false); // already off: nothing to do, nothing to fail

    const LoginItem blocked(folder.file("file") + "/autostart/tramix.desktop", "tramix");
    EXPECT_THROW(blocked.setEnabled(true), std::runtime_error);
}
