// The bash completion of tramix, written from the command table and the catalogue.
#pragma once

#include <QString>

namespace tramix::BashCompletion {

// A script to source: it defines _tramix and registers it for tramix.
QString script();

} // namespace tramix::BashCompletion
