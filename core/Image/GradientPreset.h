// The gradients a backdrop offers, from first to last colour along `angle`.
#pragma once

#include "RGBA.h"

#include <QList>
#include <QString>
#include <optional>

namespace tramix {

struct GradientPreset {
    QString id;   // its identity
    QString name; // German, as the user sees it
    QList<RGBA> colors;
    double angle = 0; // degrees; 0 runs left to right, 90 top to bottom, 45 from the top-left

    bool operator==(const GradientPreset&) const = default;

    // The eight presets, in the order they are offered.
    static const QList<GradientPreset>& all();
    static std::optional<GradientPreset> withId(const QString& id);
};

inline size_t qHash(const GradientPreset& preset, size_t seed = 0) {
    return qHash(preset.id, seed);
}

} // namespace tramix
