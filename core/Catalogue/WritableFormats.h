// Which image formats this machine writes. Asking libvips means loading it and its hundred
// libraries, so the answer is kept in the cache folder until the installed libraries change.
#pragma once

#include "Image/ImageFormat.h"

#include <QList>

namespace tramix::WritableFormats {

// Asked once per process; from the cache when the image library and the system's library
// index are the ones it was made with.
const QList<ImageFormat>& get();

// The file the answer is kept in.
QString cachePath();

} // namespace tramix::WritableFormats
