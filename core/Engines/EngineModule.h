// The heavy engines (libvips, poppler, Tesseract, OpenCV) live in libraries of their own that
// are opened on first use, so that a command maps only what it needs.
#pragma once

#include <QString>

namespace tramix::EngineModule {

// The folder of the app's own libraries: the one that holds libtramix-core.so.
QString folder();

// Opens lib{name}.so from folder() once per process and returns what its function `entry`
// hands out. Throws ConversionError when the library is missing or broken.
const void* open(const char* name, const char* entry);

// The table of functions that library `Table::module` hands out through `Table::entry`.
template <typename Table> const Table& table() {
    return *static_cast<const Table*>(open(Table::module, Table::entry));
}

} // namespace tramix::EngineModule
