// The crop and backdrop engines on one file, for bench/editors to time and to measure:
//   tramix-imageedits crop <image> <x> <y> <width> <height> <quarter turns>
//   tramix-imageedits backdrop <image>
//   tramix-imageedits preview <image>
// Writes next to the image and prints the path written; `preview` instead renders the backdrop
// editor's 1600-px preview once per gradient and prints the slowest and the median time.
#include "ConversionError.h"
#include "Image/Backdrop.h"
#include "Image/ImageEditing.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <algorithm>
#include <cstdio>
#include <vector>

using namespace tramix;

namespace {

// What the editor does on each change: the style rendered over the preview, into memory.
QString previewTimes(const QString& path) {
    constexpr int previewEdge = 1600;
    const vips::VImage preview = ImageEditing::preview(path, previewEdge).image.copy_memory();
    std::vector<double> times;
    for (const GradientPreset& preset : GradientPreset::all()) {
        const BackdropStyle style{preset, 0.08, 0.03, 0.6, std::nullopt};
        QElapsedTimer clock;
        clock.start();
        size_t bytes = 0;
        void* pixels = Backdrop::render(preview, style).write_to_memory(&bytes);
        g_free(pixels);
        times.push_back(clock.nsecsElapsed() / 1e6);
    }
    std::sort(times.begin(), times.end());
    return QStringLiteral("%1 ms median, %2 ms slowest")
        .arg(times[times.size() / 2], 0, 'f', 1)
        .arg(times.back(), 0, 'f', 1);
}

} // namespace

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
        } else if (args.size() == 2 && args[0] == u"preview") {
            written = previewTimes(args[1]);
        } else {
            std::fprintf(stderr, "usage: tramix-imageedits crop <image> x y w h turns | "
                                 "backdrop <image> | preview <image>\n");
            return 2;
        }
        std::printf("%s\n", qPrintable(written));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "Fehler: %s\n", qPrintable(describeError(error)));
        return 1;
    }
}
