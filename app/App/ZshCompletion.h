// The zsh completion of tramix, written from the command table and the catalogue.
#pragma once

#include <QString>

namespace tramix::ZshCompletion {

// The file _tramix for a folder in $fpath: the body of the completion function.
QString script();

} // namespace tramix::ZshCompletion
