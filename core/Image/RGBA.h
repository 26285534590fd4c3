// A colour in sRGB with alpha, each channel 0 to 1.
#pragma once

#include <QHashFunctions>
#include <QtGlobal>

namespace tramix {

struct RGBA {
    double r = 0, g = 0, b = 0, a = 1;

    // From 0xRRGGBB, opaque.
    static constexpr RGBA hex(quint32 rgb) {
        return {((rgb >> 16) & 0xFF) / 255.0, ((rgb >> 8) & 0xFF) / 255.0, (rgb & 0xFF) / 255.0, 1};
    }

    bool operator==(const RGBA&) const = default;
};

inline size_t qHash(const RGBA& colour, size_t seed = 0) {
    return qHashMulti(seed, colour.r, colour.g, colour.b, colour.a);
}

} // namespace tramix
