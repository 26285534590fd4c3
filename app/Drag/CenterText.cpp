#include "CenterText.h"

#include <QFontMetricsF>
#include <cmath>
#include <optional>

namespace tramix {

namespace {

constexpr double smallestPointSize = 7.0;
constexpr double sizeStep = 0.5;
constexpr int mostLines = 4;

// Greedy wrapping at spaces; empty when a single word is wider than `width`.
QStringList wrapped(const QStringList& words, const QFontMetricsF& metrics, double width) {
    QStringList lines;
    for (const QString& word : words) {
        if (metrics.horizontalAdvance(word) > width)
            return {};
        if (!lines.isEmpty() && metrics.horizontalAdvance(lines.last() + u' ' + word) <= width)
            lines.last() += u' ' + word;
        else
            lines.append(word);
    }
    return lines;
}

std::optional<CenterText> fitAt(const QStringList& words, const QFont& font, double radius) {
    const QFontMetricsF metrics(font);
    for (int count = 1; count <= mostLines; ++count) {
        const double width = CenterText::widthAllowed(radius, count, metrics.height());
        if (width <= 0)
            break;
        const QStringList lines = wrapped(words, metrics, width);
        if (!lines.isEmpty() && lines.size() <= count)
            return CenterText{font, lines, metrics.height()};
    }
    return std::nullopt;
}

} // namespace

double CenterText::widthAllowed(double radius, int lineCount, double lineHeight) {
    // The outer edge of the first and last lines is where the chord is shortest.
    const double halfHeight = lineCount * lineHeight / 2;
    if (halfHeight >= radius)
        return 0;
    return 2 * std::sqrt(radius * radius - halfHeight * halfHeight);
}

CenterText CenterText::fit(const QString& text, const QFont& font, double radius) {
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    QFont sized = font;
    for (double size = font.pointSizeF(); size >= smallestPointSize; size -= sizeStep) {
        sized.setPointSizeF(size);
        if (const std::optional<CenterText> fitted = fitAt(words, sized, radius))
            return *fitted;
    }
    // Nothing fits even at the smallest size: one line, elided.
    const QFontMetricsF metrics(sized);
    const double width = widthAllowed(radius, 1, metrics.height());
    return {sized, {metrics.elidedText(text, Qt::ElideRight, width)}, metrics.height()};
}

} // namespace tramix
