// Cuts the subject of a photo out onto transparency: the network's coarse answer, refined along
// the picture's own edges so hair and fur stay soft, with the old background's colour taken out
// of the half-transparent border.
#pragma once

#include <QString>
#include <functional>
#include <vips/vips8>

namespace tramix::SubjectCutOut {

// Fewer pixels than this share of the network's answer above one half mean there is no subject.
constexpr double leastSubjectShare = 0.005;

// Told how far the work has come, 0 to 1.
using Progress = std::function<void(double fraction)>;

// The subject likelihood of an 8-bit sRGB picture, as SubjectModel::likelihood answers it: a
// square float image of any size. It is asked once the picture is open, so the network may still
// be loading meanwhile.
using Likelihood =
    std::function<vips::VImage(const vips::VImage& picture, const Progress& progress)>;

// The picture in the file at `path` (opened upright as `image`) as 8-bit sRGB with alpha at its
// full size, evaluated lazily. Throws "Kein Motiv zum Freistellen gefunden." when the network
// sees no subject, and the pipeline's errors for a file that does not decode.
vips::VImage cutOut(const QString& path, const vips::VImage& image, const Likelihood& likelihood,
                    const Progress& progress = {});

} // namespace tramix::SubjectCutOut
