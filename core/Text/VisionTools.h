// Text recognition and subject cut-out.
#pragma once

#include "OutputContext.h"

#include <QList>
#include <QStringList>
#include <functional>
#include <vips/vips8>

namespace tramix::VisionTools {

// The app puts recognised text on the desktop clipboard through this hook, which runs on the
// main thread. Without one (the command line has no clipboard) only the text file is written.
using ClipboardHook = std::function<void(const QString& text)>;
void setClipboardHook(ClipboardHook hook);

// The text lines of one image in reading order, joined by line feeds; may be empty. `dpi` is
// the image's resolution, 0 when unknown.
QString recognize(const vips::VImage& image, double dpi = 0);

// Recognises the text of an image file, writes it as "{name} Text.txt" and hands it to the
// clipboard. Fails when the image shows no text.
QString recognizeText(const QString& input, const OutputContext& context);

// Writes `text` for `input` as "{name} Text.txt" and hands it to the clipboard.
QString save(const QString& text, const QString& input, const OutputContext& context);

// Cuts the photo's subject out onto transparency and writes it as "{name} freigestellt.png" at
// the photo's full size, without metadata. Fails when the photo shows no subject.
QString removeBackground(const QString& input, const OutputContext& context);

} // namespace tramix::VisionTools
