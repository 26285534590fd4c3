// A part of a page that can be recognised on its own: a run of consecutive lines of one text
// block, or a whole block whose lines are not simply stacked. Cutting a page into bands lets
// one page be read on several threads while keeping the reading order of its layout.
#pragma once

#include <QRect>
#include <vector>

namespace tesseract {
class PageIterator;
}

namespace tramix {

struct TextBand {
    QRect area;
    // Lines stacked top to bottom, read as one block; otherwise the layout is found again.
    bool stacked = true;

    // The bands of an analysed page in reading order, enough of them to keep `threads` threads
    // busy to the end but none of fewer than a few lines; images and rules are left out. Every
    // band keeps a margin of white around its ink where there is room, without reaching into
    // the neighbouring lines.
    static std::vector<TextBand> cut(tesseract::PageIterator& layout, QSize page, int threads);
};

} // namespace tramix
