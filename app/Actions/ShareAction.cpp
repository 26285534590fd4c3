#include "ShareAction.h"

#include "ConversionError.h"
#include "Settings/UILanguage.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QFileInfo>
#include <QInputDialog>
#include <QUrl>
#include <QXmlStreamReader>

namespace tramix::ShareAction {

namespace {

// A daemon that hangs must not freeze the wheel for long.
constexpr int callTimeout = 3000; // ms

const QString kdeConnectService = QStringLiteral("org.kde.kdeconnect");
const QString kdeConnectDevices = QStringLiteral("/modules/kdeconnect/devices/");
const QString gsConnectService = QStringLiteral("org.gnome.Shell.Extensions.GSConnect");
const QString gsConnectDevices = QStringLiteral("/org/gnome/Shell/Extensions/GSConnect/Device");
const QString gsConnectDevice = QStringLiteral("org.gnome.Shell.Extensions.GSConnect.Device");

// The parameter of GSConnect's "shareFile" action: the file's URI and whether the receiver should
// open it at once.
struct SharedFile {
    QString uri;
    bool open = false;
};

QDBusArgument& operator<<(QDBusArgument& argument, const SharedFile& file) {
    argument.beginStructure();
    argument << file.uri << file.open;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, SharedFile& file) {
    argument.beginStructure();
    argument >> file.uri >> file.open;
    argument.endStructure();
    return argument;
}

} // namespace
} // namespace tramix::ShareAction

Q_DECLARE_METATYPE(tramix::ShareAction::SharedFile)

namespace tramix::ShareAction {

namespace {

bool available(QDBusConnection& bus, const QString& service) {
    QDBusConnectionInterface* daemon = bus.interface();
    return daemon && (daemon->isServiceRegistered(service).value() ||
                      daemon->activatableServiceNames().value().contains(service));
}

QDBusMessage call(QDBusConnection& bus, const QString& service, const QString& path,
                  const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    // Painting and timers go on while the service answers; the user's input waits.
    return bus.call(message, QDBus::BlockWithGui, callTimeout);
}

QVariant property(QDBusConnection& bus, const QString& service, const QString& path,
                  const QString& interface, const QString& name) {
    const QDBusMessage reply =
        call(bus, service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
             QStringLiteral("Get"), {interface, name});
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    return reply.arguments().first().value<QDBusVariant>().variant();
}

QList<Device> kdeConnectDevicesInReach(QDBusConnection& bus) {
    const QDBusMessage reply =
        call(bus, kdeConnectService, QStringLiteral("/modules/kdeconnect"),
             QStringLiteral("org.kde.kdeconnect.daemon"), QStringLiteral("devices"),
             {true /* only reachable */, true /* only paired */});
    QList<Device> devices;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return devices;
    for (const QString& id : reply.arguments().first().toStringList()) {
        const QString name =
            property(bus, kdeConnectService, kdeConnectDevices + id,
                     QStringLiteral("org.kde.kdeconnect.device"), QStringLiteral("name"))
                .toString();
        devices.append({Device::Service::kdeConnect, id, name.isEmpty() ? id : name});
    }
    return devices;
}

// The children of a bus object, from its introspection.
QStringList childNodes(QDBusConnection& bus, const QString& service, const QString& path) {
    const QDBusMessage reply =
        call(bus, service, path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
             QStringLiteral("Introspect"), {});
    QStringList children;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return children;
    QXmlStreamReader xml(reply.arguments().first().toString());
    int depth = 0;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++depth;
            const QString name = xml.attributes().value(QLatin1StringView("name")).toString();
            if (depth == 2 && xml.name() == u"node" && !name.isEmpty())
                children.append(name);
        } else if (token == QXmlStreamReader::EndElement) {
            --depth;
        }
    }
    return children;
}

QList<Device> gsConnectDevicesInReach(QDBusConnection& bus) {
    QList<Device> devices;
    for (const QString& id : childNodes(bus, gsConnectService, gsConnectDevices)) {
        const QDBusMessage reply = call(bus, gsConnectService, gsConnectDevices + u'/' + id,
                                        QStringLiteral("org.freedesktop.DBus.Properties"),
                                        QStringLiteral("GetAll"), {gsConnectDevice});
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
            continue;
        const QVariantMap properties = qdbus_cast<QVariantMap>(reply.arguments().first());
        if (!properties.value(QStringLiteral("Connected")).toBool() ||
            !properties.value(QStringLiteral("Paired")).toBool())
            continue;
        const QString name = properties.value(QStringLiteral("Name")).toString();
        devices.append({Device::Service::gsConnect, id, name.isEmpty() ? id : name});
    }
    return devices;
}

QString sentFailure(const Device& device, const QString& path) {
    return QStringLiteral("„%1“ ließ sich nicht an „%2“ senden.")
        .arg(QFileInfo(path).fileName(), device.name);
}

void send(QDBusConnection& bus, const Device& device, const QString& path) {
    const QString uri = QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded);
    QDBusMessage reply;
    if (device.service == Device::Service::kdeConnect) {
        reply = call(
            bus, kdeConnectService, kdeConnectDevices + device.id + QStringLiteral("/share"),
            QStringLiteral("org.kde.kdeconnect.device.share"), QStringLiteral("shareUrl"), {uri});
    } else {
        qDBusRegisterMetaType<SharedFile>();
        reply = call(bus, gsConnectService, gsConnectDevices + u'/' + device.id,
                     QStringLiteral("org.gtk.Actions"), QStringLiteral("Activate"),
                     {QStringLiteral("shareFile"),
                      QVariantList{QVariant::fromValue(SharedFile{uri})}, QVariantMap()});
    }
    if (reply.type() != QDBusMessage::ReplyMessage)
        throw ConversionError::failed(sentFailure(device, path));
}

} // namespace

std::optional<qsizetype> askForDevice(const QStringList& names) {
    bool chosen = false;
    const QString name = QInputDialog::getItem(
        nullptr, UILanguage::text(QStringLiteral("Teilen"), QStringLiteral("Share")),
        UILanguage::text(QStringLiteral("An welches Gerät senden?"),
                         QStringLiteral("Send to which device?")),
        names, 0, false, &chosen);
    if (!chosen)
        return std::nullopt;
    return names.indexOf(name);
}

QList<Device> reachableDevices(QDBusConnection bus) {
    const bool kdeConnect = bus.isConnected() && available(bus, kdeConnectService);
    const bool gsConnect = bus.isConnected() && available(bus, gsConnectService);
    if (!kdeConnect && !gsConnect) {
        throw ConversionError::failed(
            QStringLiteral("Zum Teilen braucht es KDE Connect oder GSConnect und ein gekoppeltes "
                           "Gerät in Reichweite."));
    }
    QList<Device> devices;
    if (kdeConnect)
        devices += kdeConnectDevicesInReach(bus);
    if (gsConnect)
        devices += gsConnectDevicesInReach(bus);
    return devices;
}

void share(const QStringList& paths, const DeviceChooser& choose, QDBusConnection bus) {
    const QList<Device> devices = reachableDevices(bus);
    if (devices.isEmpty()) {
        throw ConversionError::failed(
            QStringLiteral("Kein gekoppeltes Gerät in Reichweite. Öffne KDE Connect auf dem "
                           "anderen Gerät und verbinde beide im selben Netz."));
    }
    qsizetype index = 0;
    if (devices.size() > 1) {
        QStringList names;
        for (const Device& device : devices)
            names.append(device.name);
        const std::optional<qsizetype> chosen = choose(names);
        if (!chosen || *chosen < 0 || *chosen >= devices.size())
            return;
        index = *chosen;
    }
    for (const QString& path : paths)
        send(bus, devices[index], path);
}

} // namespace tramix::ShareAction
