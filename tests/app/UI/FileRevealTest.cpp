// Revealing files asks the desktop's file manager over D-Bus, here a stand-in on a private bus.
#include "UI/FileReveal.h"

#include "TestFiles.h"

#include <QDBusConnection>
#include <QProcess>
#include <QTest>
#include <QUrl>
#include <gtest/gtest.h>

namespace {

class FakeFileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    QStringList shown;
    int calls = 0;

public Q_SLOTS:
    void ShowItems(const QStringList& uris, const QString&) {
        shown = uris;
        ++calls;
    }
};

} // namespace

TEST(FileReveal, AsksTheFileManagerToShowEveryFileByItsUri) {
    QProcess daemon;
    daemon.start(QStringLiteral("dbus-daemon"), {"--session", "--nofork", "--print-address=1"});
    ASSERT_TRUE(daemon.waitForStarted()) << "dbus-daemon is missing";
    ASSERT_TRUE(daemon.waitForReadyRead(5000));
    const QString address = QString::fromUtf8(daemon.readLine()).trimmed();

    tramix::test::TestFolder folder;
    const QStringList files = {folder.file("Urlaub am Meer.png"), folder.file("b/Ä.pdf")};
    {
        QDBusConnection service = QDBusConnection::connectToBus(address, "file-manager");
        QDBusConnection client = QDBusConnection::connectToBus(address, "tramix");
        ASSERT_TRUE(service.isConnected() && client.isConnected());
        FakeFileManager manager;
        ASSERT_TRUE(service.registerService("org.freedesktop.FileManager1"));
        ASSERT_TRUE(service.registerObject("/org/freedesktop/FileManager1", &manager,
                                           QDBusConnection::ExportAllSlots));

        tramix::FileReveal::reveal(files, client);
        ASSERT_TRUE(QTest::qWaitFor([&] { return manager.calls > 0; }, 5000));
        EXPECT_EQ(manager.calls, 1);
        ASSERT_EQ(manager.shown.size(), 2);
        EXPECT_EQ(QUrl(manager.shown[0]).toLocalFile(), files[0]);
        EXPECT_EQ(QUrl(manager.shown[1]).toLocalFile(), files[1]);
        EXPECT_TRUE(manager.shown[0].startsWith("file:///")) << manager.shown[0].toStdString();

        tramix::FileReveal::reveal({}, client);
        QTest::qWait(100);
        EXPECT_EQ(manager.calls, 1) << "nothing to show asks nothing";
    }
    QDBusConnection::disconnectFromBus("file-manager");
    QDBusConnection::disconnectFromBus("tramix");
    daemon.kill();
    daemon.waitForFinished();
}

#include "FileRevealTest.moc"
