// The entry of libtramix-desktop.so.
#include "DesktopLibrary.h"
#include "DrawingCommands.h"
#include "TrayMain.h"

extern "C" [[gnu::visibility("default")]] const void* tramixDesktop() {
    using namespace tramix;
    static const DesktopLibrary library{&TrayMain::runTrayApp, &TrayMain::runDrawing,
                                        &DrawingCommands::draw};
    return &library;
}
