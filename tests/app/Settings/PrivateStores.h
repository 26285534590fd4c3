// Settings and history of the app in a private folder, with an autostart entry that never
// touches the user's own.
#pragma once

#include "Settings/AppSettings.h"
#include "Settings/History.h"
#include "Settings/LoginItem.h"
#include "TestFiles.h"

namespace tramix::test {

struct PrivateStores {
    TestFolder folder;
    AppSettings settings{folder.path("settings.ini"),
                         LoginItem(folder.path("autostart/tramix.desktop"), "/bin/true")};
    History history{folder.path("history.ini")};
};

} // namespace tramix::test
