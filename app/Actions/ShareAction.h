// Sends files to a phone or another computer through KDE Connect or GSConnect, which both speak
// the KDE Connect protocol and are reached over the session bus.
#pragma once

#include <QDBusConnection>
#include <QStringList>
#include <functional>
#include <optional>

namespace tramix::ShareAction {

// A paired device in reach, as one of the two services knows it.
struct Device {
    enum class Service { kdeConnect, gsConnect };
    Service service;
    QString id;
    QString name;
};

// Picks one of several devices by name; nothing when the user cancels.
using DeviceChooser = std::function<std::optional<qsizetype>(const QStringList& names)>;

// A small list of the devices' names to choose from.
std::optional<qsizetype> askForDevice(const QStringList& names);

// The paired devices in reach, KDE Connect's first. Throws ConversionError when neither service
// is there.
QList<Device> reachableDevices(QDBusConnection bus);

// Sends every file to the one device in reach, or to the one chosen of several; cancelling
// sends nothing. Throws ConversionError when there is no service, no device in reach, or the
// service refuses a file.
void share(const QStringList& paths, const DeviceChooser& choose, QDBusConnection bus);

} // namespace tramix::ShareAction
