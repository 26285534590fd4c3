// The tray app, its windows and the drawings live in libtramix-desktop.so, which brings Qt's
// widgets and every engine; the command line opens it only when it is asked to draw.
#pragma once

#include "CommandRow.h"

#include <QStringList>
#include <QTextStream>

namespace tramix {

struct DesktopLibrary {
    static constexpr const char* module = "tramix-desktop";
    static constexpr const char* entry = "tramixDesktop";

    // The tray app, until it quits; returns the exit status.
    int (*runTrayApp)(int argc, char** argv);
    // A drawing command with an offscreen QApplication of its own; returns the exit status.
    int (*runDrawing)(int argc, char** argv);
    // One drawing, when a QApplication is already there. Throws ConversionError.
    void (*draw)(CommandId command, const QStringList& args, QTextStream& out);
};

} // namespace tramix
