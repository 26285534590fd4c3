// Turns a coarse subject likelihood into a matte that follows the picture's own edges, and
// estimates the subject's colours where it is partly transparent. Both work on a reduced copy
// of the picture and hand back smooth maps that are enlarged and applied per pixel at full size
// (the fast colour guided filter of He and Sun, and blur-fusion foreground estimation), so a large
// photo costs little more than a small one.
#pragma once

#include <opencv2/core.hpp>

namespace tramix::Matte {

// The linear model alpha = a · colour + b, per pixel: smooth maps that may be enlarged.
struct Coefficients {
    cv::Mat a; // CV_32FC3, one weight per channel
    cv::Mat b; // CV_32F
};

// The likelihood pushed towards 0 and 1 outside its uncertain middle (a smooth step between
// `low` and `high`): the guided filter spreads whatever haze it is given over flat background,
// but takes the picture's edges where the two sides meet.
cv::Mat decisive(const cv::Mat& likelihood, double low, double high);

// Guided filter of `likelihood` (CV_32F, 0 to 1) with the picture's colours `rgb` (CV_32FC3,
// 0 to 1) of the same size as guide. Where the likelihood is flat the picture's texture does not
// reach the matte; at the subject's border the matte takes the picture's edges, also where the
// two sides differ in hue but not in brightness.
Coefficients guidedFilter(const cv::Mat& rgb, const cv::Mat& likelihood, int radius,
                          double regularisation);

// alpha = a · colour + b, within 0 to 1.
cv::Mat apply(const Coefficients& coefficients, const cv::Mat& rgb);

// The blurred foreground and background colours near each pixel (CV_32FC3, 0 to 255) of `rgb`
// (CV_32FC3) under `alpha`, after two rounds of blur fusion: wide, then narrow.
struct Colours {
    cv::Mat foreground;
    cv::Mat background;
};
Colours blurredColours(const cv::Mat& rgb, const cv::Mat& alpha, int wideRadius, int narrowRadius);

} // namespace tramix::Matte
