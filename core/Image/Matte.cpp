#include "Matte.h"

#include <array>
#include <opencv2/imgproc.hpp>

namespace tramix::Matte {

namespace {

// Guards divisions by the blurred alpha where a region holds no subject (or no background).
constexpr float tiny = 1e-4f;

cv::Mat boxMean(const cv::Mat& image, int radius) {
    cv::Mat mean;
    cv::boxFilter(image, mean, CV_32F, cv::Size(2 * radius + 1, 2 * radius + 1), cv::Point(-1, -1),
                  true, cv::BORDER_REFLECT);
    return mean;
}

cv::Mat asThreeBands(const cv::Mat& single) {
    cv::Mat three;
    cv::merge(std::vector<cv::Mat>{single, single, single}, three);
    return three;
}

} // namespace

cv::Mat decisive(const cv::Mat& likelihood, double low, double high) {
    cv::Mat t = (likelihood - low) / (high - low);
    cv::min(cv::max(t, 0), 1, t);
    return t.mul(t).mul(3 - 2 * t);
}

Coefficients guidedFilter(const cv::Mat& rgb, const cv::Mat& likelihood, int radius,
                          double regularisation) {
    std::vector<cv::Mat> channel(3);
    cv::split(rgb, channel);
    const cv::Mat meanP = boxMean(likelihood, radius);
    std::array<cv::Mat, 3> meanI, covariance;
    for (int c = 0; c < 3; ++c) {
        meanI[c] = boxMean(channel[c], radius);
        covariance[c] = boxMean(channel[c].mul(likelihood), radius) - meanI[c].mul(meanP);
    }
    // The colours' covariance in each window: rr, rg, rb, gg, gb, bb.
    std::array<cv::Mat, 6> variance;
    int index = 0;
    for (int c = 0; c < 3; ++c) {
        for (int d = c; d < 3; ++d)
            variance[index++] =
                boxMean(channel[c].mul(channel[d]), radius) - meanI[c].mul(meanI[d]);
    }

    cv::Mat a(rgb.size(), CV_32FC3), b(rgb.size(), CV_32F);
    const float e = float(regularisation);
    for (int y = 0; y < rgb.rows; ++y) {
        cv::Vec3f* aRow = a.ptr<cv::Vec3f>(y);
        float* bRow = b.ptr<float>(y);
        for (int x = 0; x < rgb.cols; ++x) {
            const cv::Matx33f sigma(variance[0].at<float>(y, x) + e, variance[1].at<float>(y, x),
                                    variance[2].at<float>(y, x), variance[1].at<float>(y, x),
                                    variance[3].at<float>(y, x) + e, variance[4].at<float>(y, x),
                                    variance[2].at<float>(y, x), variance[4].at<float>(y, x),
                                    variance[5].at<float>(y, x) + e);
            const cv::Vec3f cov(covariance[0].at<float>(y, x), covariance[1].at<float>(y, x),
                                covariance[2].at<float>(y, x));
            const cv::Vec3f weights = sigma.inv(cv::DECOMP_CHOLESKY) * cov;
            aRow[x] = weights;
            bRow[x] = meanP.at<float>(y, x) - weights[0] * meanI[0].at<float>(y, x) -
                      weights[1] * meanI[1].at<float>(y, x) - weights[2] * meanI[2].at<float>(y, x);
        }
    }
    return {boxMean(a, radius), boxMean(b, radius)};
}

cv::Mat apply(const Coefficients& coefficients, const cv::Mat& rgb) {
    cv::Mat weighted;
    cv::multiply(coefficients.a, rgb, weighted);
    std::vector<cv::Mat> parts(3);
    cv::split(weighted, parts);
    cv::Mat alpha = parts[0] + parts[1] + parts[2] + coefficients.b;
    cv::min(cv::max(alpha, 0), 1, alpha);
    return alpha;
}

Colours blurredColours(const cv::Mat& rgb, const cv::Mat& alpha, int wideRadius, int narrowRadius) {
    const cv::Mat alpha3 = asThreeBands(alpha);
    const cv::Mat beta3 = cv::Scalar::all(1) - alpha3;
    // Own buffers: assigning to a cv::Mat writes into the one it shares.
    Colours estimate{rgb.clone(), rgb.clone()};
    Colours blurred;
    for (const int radius : {wideRadius, narrowRadius}) {
        // One round of blur fusion: the colours near each pixel weighted by alpha (foreground)
        // and by its complement (background), then each pixel's own colour split between the
        // two so that it is explained.
        cv::divide(boxMean(estimate.foreground.mul(alpha3), radius),
                   boxMean(alpha3, radius) + cv::Scalar::all(tiny), blurred.foreground);
        cv::divide(boxMean(estimate.background.mul(beta3), radius),
                   boxMean(beta3, radius) + cv::Scalar::all(tiny), blurred.background);
        const cv::Mat unexplained =
            rgb - alpha3.mul(blurred.foreground) - beta3.mul(blurred.background);
        estimate.foreground = blurred.foreground + alpha3.mul(unexplained);
        estimate.background = blurred.background + beta3.mul(unexplained);
        cv::min(cv::max(estimate.foreground, 0), 255, estimate.foreground);
        cv::min(cv::max(estimate.background, 0), 255, estimate.background);
    }
    return blurred;
}

} // namespace tramix::Matte
