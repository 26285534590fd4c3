// The crop and backdrop engines on one file, for bench/editors to time and to measure:
//   tramix-imageedits crop <image> <x> <y> <width> <height> <quarter turns>
//   tramix-imageedits backdrop <image>
// Writes next to the image and prints the path written.
#include "ConversionError.h"
#include "Image/Backdrop.h"
#include "Image/ImageEditing.h"

#include <QCoreApplication>
#include <QStringList>
#include <cstdio>

using namespace tramix;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    try {
        QString written;
        if (args.size() == 7 && args[0] == u"crop") {
            written = ImageEditing::crop(
                args[1],
                {args[2].toDouble(), args[3].toDouble(), args[4].toDouble(), args[5].toDouble()},
                args[6].toInt(), {});
        } else if (args.size() == 2 && args[0] == u"backdrop") {
            const BackdropStyle style{GradientPreset::all().first(), 0.08, 0.03, 0.6, 16.0 / 9};
            written = Backdrop::render(args[1], style, {});
        } else {
            std::fprintf(stderr, "usage: tramix-imageedits crop <image> x y w h turns | "
                                 "backdrop <image>\n");
            return 2;
        }
        std::printf("%s\n", qPrintable(written));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Fehler: %s\n", qPrintable(describeError(error)));
        return 1;
    }
}
