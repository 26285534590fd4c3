// The cut-out half of the vision tools. It is built into the cut-out library, apart from text
// recognition, so that recognising text never maps OpenCV and cutting out never Tesseract.
#include "Image/ImagePipeline.h"
#include "Image/SubjectCutOut.h"
#include "Image/SubjectModel.h"
#include "VisionTools.h"

#include <future>

namespace tramix::VisionTools {

QString removeBackground(const QString& input, const OutputContext& context) {
    ImagePipeline::Loaded loaded = ImagePipeline::load(input);
    context.throwIfCancelled();
    // The network loads while the photo is opened.
    const std::shared_future<SubjectModel*> model =
        std::async(std::launch::async, [] { return &SubjectModel::shared(); }).share();
    const auto likelihood = [&](const vips::VImage& picture,
                                const SubjectCutOut::Progress& progress) {
        return model.get()->likelihood(picture, progress);
    };
    loaded.image = SubjectCutOut::cutOut(input, loaded.image, likelihood, [&](double fraction) {
        context.reportFraction(fraction);
    });
    context.throwIfCancelled();
    return ImagePipeline::save(
        loaded, ImageFormat::png, 1.0, ImageMetadata::none(),
        context.destination(input, QStringLiteral("png"), QStringLiteral("freigestellt")));
}

} // namespace tramix::VisionTools
