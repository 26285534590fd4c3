// The cut-out engine with a model file of any input edge, for bench/cutout to compare the edge
// the app uses with the model's native one:
//   tramix-cutout <model.onnx> <edge> <image> <output.png>
// Prints the seconds the cut-out took, model loading included.
#include "ConversionError.h"
#include "Image/ImagePipeline.h"
#include "Image/SubjectCutOut.h"
#include "Image/SubjectModel.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <cstdio>

using namespace tramix;

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.size() != 4) {
        std::fprintf(stderr, "usage: tramix-cutout <model.onnx> <edge> <image> <output.png>\n");
        return 2;
    }
    try {
        QElapsedTimer clock;
        clock.start();
        SubjectModel model(args[0], args[1].toInt());
        const ImagePipeline::Loaded loaded = ImagePipeline::load(args[2]);
        const auto likelihood = [&](const vips::VImage& picture,
                                    const SubjectCutOut::Progress& progress) {
            return model.likelihood(picture, progress);
        };
        SubjectCutOut::cutOut(args[2], loaded.image, likelihood)
            .write_to_file(QFile::encodeName(args[3]).constData());
        std::printf("%.2f\n", clock.elapsed() / 1000.0);
        return 0;
    } catch (const ConversionError& error) {
        std::fprintf(stderr, "%s\n", error.what());
    } catch (const vips::VError& error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}
