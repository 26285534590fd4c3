// The command line's drawings: icons, artwork, the wheels, the screens and the editors, rendered
// to PNG files without a screen.
#pragma once

#include "CommandRow.h"

#include <QStringList>
#include <QTextStream>

namespace tramix::DrawingCommands {

// Draws what `command` names into the file its arguments give. Needs a QApplication; throws
// ConversionError.
void draw(CommandId command, const QStringList& args, QTextStream& out);

} // namespace tramix::DrawingCommands
