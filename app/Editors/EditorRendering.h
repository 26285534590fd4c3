// The editors drawn off screen for given images, as the command line's --render-editor shows
// them: loaded, laid out at a fixed size, in light or dark.
#pragma once

#include <QImage>
#include <QSize>
#include <QStringList>

namespace tramix::EditorRendering {

// The size the editors are laid out at.
constexpr QSize size{900, 620};

// The crop editor (square frame) or the backdrop editor for `paths`, at twice the pixels of
// `size`; a built-in sample picture when `paths` is empty. A null image when an image could not
// be loaded.
QImage crop(const QStringList& paths, bool dark);
QImage backdrop(const QStringList& paths, bool dark);

} // namespace tramix::EditorRendering
