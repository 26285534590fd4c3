// The two ways the desktop library runs: the tray app, and a drawing command without a screen.
#pragma once

namespace tramix::TrayMain {

// The tray app, until it quits; returns the exit status.
int runTrayApp(int argc, char** argv);

// The drawing command in argv[1], on an offscreen QApplication; returns the exit status.
int runDrawing(int argc, char** argv);

} // namespace tramix::TrayMain
