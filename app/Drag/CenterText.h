// A text set inside the wheel's centre circle: wrapped at spaces into lines that each fit the
// circle's chord at their height, in the largest size that lets every word fit.
#pragma once

#include <QFont>
#include <QStringList>

namespace tramix {

struct CenterText {
    QFont font;
    QStringList lines;
    double lineHeight = 0;

    // `radius` is the circle's, less any margin the caller wants kept free. Starts at `font`'s
    // size and shrinks; at the smallest size a word that is still too wide is elided.
    static CenterText fit(const QString& text, const QFont& font, double radius);

    // The widest line may be at most this wide when `lineCount` lines are centred vertically.
    static double widthAllowed(double radius, int lineCount, double lineHeight);
};

} // namespace tramix
