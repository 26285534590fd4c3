#include "GradientPreset.h"

namespace tramix {

const QList<GradientPreset>& GradientPreset::all() {
    static const QList<GradientPreset> presets = [] {
        const auto preset = [](const char* id, const char* name, quint32 first, quint32 second,
                               double angle) {
            return GradientPreset{QString::fromLatin1(id),
                                  QString::fromUtf8(name),
                                  {RGBA::hex(first), RGBA::hex(second)},
                                  angle};
        };
        return QList<GradientPreset>{
            preset("sunrise", "Sonnenaufgang", 0xFFD36E, 0xF78CA0, 45),
            preset("meadow", "Wiese", 0xF3F7D9, 0x8DBF8B, 90),
            preset("sky", "Sommerhimmel", 0xA8E0FF, 0xD9C3FC, 45),
            preset("peach", "Pfirsich", 0xFFE3C4, 0xFF9E8A, 60),
            preset("lavender", "Lavendel", 0xE6D3FF, 0x9CB8FF, 30),
            preset("mint", "Minze", 0xDDFCEB, 0x74D3C1, 60),
            preset("dusk", "Abendrot", 0x5B3E8C, 0xF4A261, 45),
            preset("graphite", "Graphit", 0x4A4A4A, 0x1C1C1E, 90),
        };
    }();
    return presets;
}

std::optional<GradientPreset> GradientPreset::withId(const QString& id) {
    for (const GradientPreset& preset : all()) {
        if (preset.id == id)
            return preset;
    }
    return std::nullopt;
}

} // namespace tramix
