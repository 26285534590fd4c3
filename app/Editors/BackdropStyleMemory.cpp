#include "BackdropStyleMemory.h"

#include <QColor>
#include <QSettings>

namespace tramix::BackdropStyleMemory {

namespace {

constexpr double defaultPadding = 0.08;
constexpr double defaultCornerRadius = 0.025;
constexpr double defaultShadow = 0.5;

QSettings store() {
    return QSettings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Tramix"),
                     QStringLiteral("Backdrop"));
}

double within(const QVariant& value, double fallback, double most) {
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok && number >= 0 && number <= most ? number : fallback;
}

} // namespace

BackdropStyle defaultStyle() {
    return {*GradientPreset::withId(QStringLiteral("sky")), defaultPadding, defaultCornerRadius,
            defaultShadow, std::nullopt};
}

QString fillText(const BackdropStyle::Fill& fill) {
    if (const auto* preset = std::get_if<GradientPreset>(&fill))
        return QStringLiteral("gradient:") + preset->id;
    if (const auto* colour = std::get_if<RGBA>(&fill)) {
        return QStringLiteral("solid:") + QColor::fromRgbF(float(colour->r), float(colour->g),
                                                           float(colour->b), float(colour->a))
                                              .name(QColor::HexArgb);
    }
    return QStringLiteral("none");
}

std::optional<BackdropStyle::Fill> fillFromText(const QString& text) {
    if (text == u"none")
        return BackdropStyle::Fill(std::monostate{});
    if (text.startsWith(u"gradient:")) {
        if (const auto preset = GradientPreset::withId(text.mid(9)))
            return BackdropStyle::Fill(*preset);
        return std::nullopt;
    }
    if (text.startsWith(u"solid:")) {
        const QColor colour = QColor::fromString(text.mid(6));
        if (!colour.isValid())
            return std::nullopt;
        return BackdropStyle::Fill(
            RGBA{colour.redF(), colour.greenF(), colour.blueF(), colour.alphaF()});
    }
    return std::nullopt;
}

BackdropStyle last() {
    const QSettings settings = store();
    BackdropStyle style = defaultStyle();
    if (const auto fill = fillFromText(settings.value(QStringLiteral("fill")).toString()))
        style.fill = *fill;
    style.padding = within(settings.value(QStringLiteral("padding")), style.padding, 1);
    style.cornerRadius =
        within(settings.value(QStringLiteral("cornerRadius")), style.cornerRadius, 0.5);
    style.shadow = within(settings.value(QStringLiteral("shadow")), style.shadow, 1);
    const double aspect = within(settings.value(QStringLiteral("aspect")), 0, 100);
    style.aspect = aspect > 0 ? std::optional<double>(aspect) : std::nullopt;
    return style;
}

void remember(const BackdropStyle& style) {
    QSettings settings = store();
    settings.setValue(QStringLiteral("fill"), fillText(style.fill));
    settings.setValue(QStringLiteral("padding"), style.padding);
    settings.setValue(QStringLiteral("cornerRadius"), style.cornerRadius);
    settings.setValue(QStringLiteral("shadow"), style.shadow);
    settings.setValue(QStringLiteral("aspect"), style.aspect.value_or(0));
}

} // namespace tramix::BackdropStyleMemory
