// The words of a page, as poppler places them, put back together into lines and the lines into
// paragraphs and list items, the way a reader sees them.
#pragma once

#include "StyledText.h"

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QString>

namespace tramix::PDFTextLayout {

struct Word {
    QString text;
    QRectF box; // on the page as shown, in points from its top left corner
    double size = 0;
    bool bold = false;
    bool italic = false;
    bool spaceAfter = true; // poppler saw a space before the next word of the line
};

// One paragraph or list item of a page; whether it is a heading is only known once the body
// size of the whole document is.
struct Paragraph {
    QList<StyledRun> runs;
    QRectF box;
    double size = 0; // the size most of its letters have
    int lines = 0;
    bool listItem = false;
    bool ordered = false;
    QString mark; // list item: its bullet or number as printed, not part of `runs`

    QString text() const {
        QString joined;
        for (const StyledRun& run : runs)
            joined += run.text;
        return joined;
    }
};

// Running heads, feet and page numbers live in this share of the page's height at its top and
// bottom (TeX sets its page numbers some 1.3 inches above the foot of the page).
constexpr double marginBand = 0.13;

// Whether `box` lies in the top or bottom margin band of a page of size `page`.
bool inMargin(const QRectF& box, QSizeF page);

// The paragraphs of one page, from its words in poppler's reading order. Running page numbers
// in the top and bottom margins are left out.
QList<Paragraph> paragraphs(const QList<Word>& words, QSizeF page);

// How a line ending in `last` continues with the next line's `next` inside a paragraph: after a
// word broken with a hyphen before a lower-case letter the two halves are one word again.
enum class Join { space, hyphenDropped, hyphenKept };
Join joinOf(const QString& last, const QString& next);

// `lines` as the text of one paragraph, joined as `joinOf` says.
QString joinedLines(const QStringList& lines);

} // namespace tramix::PDFTextLayout
