// Shows files in the user's file manager.
#pragma once

#include <QDBusConnection>
#include <QStringList>

namespace tramix::FileReveal {

// Asks the file manager over D-Bus to show `paths` selected; where none answers, opens the folder
// of the first path. Returns at once.
void reveal(const QStringList& paths);
// The same on a given bus.
void reveal(const QStringList& paths, QDBusConnection bus);

} // namespace tramix::FileReveal
