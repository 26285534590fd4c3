// Sharing talks to KDE Connect and GSConnect over the session bus; here stand-ins on a private bus
// play both.
#include "Actions/ShareAction.h"

#include "TestFiles.h"

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QProcess>
#include <QUrl>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

class KdeConnectDaemon : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.kdeconnect.daemon")
public:
    QStringList inReach;
    QList<std::pair<bool, bool>> asked;

public Q_SLOTS:
    QStringList devices(bool onlyReachable, bool onlyPaired) {
        asked.append({onlyReachable, onlyPaired});
        return inReach;
    }
};

class KdeConnectDevice : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.kdeconnect.device")
    Q_PROPERTY(QString name READ name)
public:
    QString name() const { return QStringLiteral("Pixel"); }
};

class KdeConnectShare : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.kdeconnect.device.share")
public:
    QStringList urls;

public Q_SLOTS:
    void shareUrl(const QString& url) { urls.append(url); }
};

// A GSConnect device: its properties and its actions are two interfaces of one object.
class GsConnectDevice : public QObject {
public:
    GsConnectDevice(const QString& name, bool paired)
        : name(name)
        , paired(paired) {}
    QString name;
    bool paired;
    QStringList shared; // "action uri open"
};

class GsConnectProperties : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gnome.Shell.Extensions.GSConnect.Device")
    Q_PROPERTY(QString Name READ name)
    Q_PROPERTY(bool Connected READ connected)
    Q_PROPERTY(bool Paired READ paired)
public:
    explicit GsConnectProperties(GsConnectDevice* device)
        : QDBusAbstractAdaptor(device)
        , device_(device) {}
    QString name() const { return device_->name; }
    bool connected() const { return true; }
    bool paired() const { return device_->paired; }

private:
    GsConnectDevice* device_;
};

class GsConnectActions : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.gtk.Actions")
public:
    explicit GsConnectActions(GsConnectDevice* device)
        : QDBusAbstractAdaptor(device)
        , device_(device) {}

public Q_SLOTS:
    void Activate(const QString& action, const QVariantList& parameter, const QVariantMap&) {
        QString uri;
        bool open = true;
        if (parameter.size() == 1) {
            const QDBusArgument file = parameter[0].value<QDBusArgument>();
            file.beginStructure();
            file >> uri >> open;
            file.endStructure();
        }
        device_->shared.append(QStringLiteral("%1 %2 %3").arg(action, uri).arg(open));
    }

private:
    GsConnectDevice* device_;
};

} // namespace

TEST(ShareAction, SendsToTheOneDeviceInReachOrTheChosenOneAndSaysWhatIsMissing) {
    QProcess daemon;
    daemon.start(QStringLiteral("dbus-daemon"), {"--session", "--nofork", "--print-address=1"});
    ASSERT_TRUE(daemon.waitForStarted()) << "dbus-daemon is missing";
    ASSERT_TRUE(daemon.waitForReadyRead(5000));
    const QString address = QString::fromUtf8(daemon.readLine()).trimmed();

    TestFolder folder;
    const QStringList files = {folder.file("Urlaub am Meer.jpg"), folder.file("Ä.pdf")};
    const QStringList uris = {QUrl::fromLocalFile(files[0]).toString(QUrl::FullyEncoded),
                              QUrl::fromLocalFile(files[1]).toString(QUrl::FullyEncoded)};
    {
        QDBusConnection kde = QDBusConnection::connectToBus(address, "kdeconnect");
        QDBusConnection gnome = QDBusConnection::connectToBus(address, "gsconnect");
        QDBusConnection client = QDBusConnection::connectToBus(address, "tramix");
        ASSERT_TRUE(kde.isConnected() && gnome.isConnected() && client.isConnected());
        QStringList offered;
        std::optional<qsizetype> choice;
        const auto choose = [&](const QStringList& names) {
            offered = names;
            return choice;
        };
        const auto share = [&] { ShareAction::share(files, choose, client); };

        EXPECT_EQ(errorOf(share), "Zum Teilen braucht es KDE Connect oder GSConnect und ein "
                                  "gekoppeltes Gerät in Reichweite.");

        KdeConnectDaemon kdeDaemon;
        KdeConnectDevice pixel;
        KdeConnectShare pixelShare;
        ASSERT_TRUE(
            kde.registerObject("/modules/kdeconnect", &kdeDaemon, QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(kde.registerObject("/modules/kdeconnect/devices/a1b2", &pixel,
                                       QDBusConnection::ExportAllProperties));
        ASSERT_TRUE(kde.registerObject("/modules/kdeconnect/devices/a1b2/share", &pixelShare,
                                       QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(kde.registerService("org.kde.kdeconnect"));
        EXPECT_EQ(errorOf(share), "Kein gekoppeltes Gerät in Reichweite. Öffne KDE Connect auf "
                                  "dem anderen Gerät und verbinde beide im selben Netz.");

        kdeDaemon.inReach = {"a1b2"};
        EXPECT_EQ(errorOf(share), "(no error)");
        EXPECT_EQ(pixelShare.urls, uris) << "one device: sent at once";
        EXPECT_TRUE(offered.isEmpty()) << "nothing to choose";
        EXPECT_EQ(kdeDaemon.asked.last(), std::pair(true, true)) << "reachable and paired only";

        GsConnectDevice laptop("Laptop", true), stranger("Fremd", false);
        new GsConnectProperties(&laptop);
        new GsConnectActions(&laptop);
        new GsConnectProperties(&stranger);
        new GsConnectActions(&stranger);
        const QString devices = "/org/gnome/Shell/Extensions/GSConnect/Device/";
        ASSERT_TRUE(
            gnome.registerObject(devices + "c3d4", &laptop, QDBusConnection::ExportAdaptors));
        ASSERT_TRUE(
            gnome.registerObject(devices + "e5f6", &stranger, QDBusConnection::ExportAdaptors));
        ASSERT_TRUE(gnome.registerService("org.gnome.Shell.Extensions.GSConnect"));

        pixelShare.urls.clear();
        EXPECT_EQ(errorOf(share), "(no error)");
        EXPECT_EQ(offered, (QStringList{"Pixel", "Laptop"})) << "only paired devices are offered";
        EXPECT_TRUE(pixelShare.urls.isEmpty() && laptop.shared.isEmpty()) << "cancelled";

        choice = 1;
        EXPECT_EQ(errorOf(share), "(no error)");
        EXPECT_EQ(laptop.shared,
                  (QStringList{"shareFile " + uris[0] + " 0", "shareFile " + uris[1] + " 0"}));
        EXPECT_TRUE(pixelShare.urls.isEmpty() && stranger.shared.isEmpty());
    }
    for (const char* name : {"kdeconnect", "gsconnect", "tramix"})
        QDBusConnection::disconnectFromBus(name);
    daemon.kill();
    daemon.waitForFinished();
}

#include "ShareActionTest.moc"
