// Parts of a page that can be recognised on their own: runs of consecutive lines of one text
// block. Cutting a page into bands lets one page be read on several threads while keeping the
// reading order of its layout.
#pragma once

#include <QRect>
#include <vector>

namespace tesseract {
class PageIterator;
}

namespace tramix::TextBands {

// The bands of an analysed page in reading order, enough of them to keep `threads` threads
// busy to the end but none of fewer than a few lines; images and rules are left out. Every
// band keeps a margin of white around its ink where there is room, without reaching into the
// neighbouring lines. None when the page holds text that is not in simple rows (vertical
// text, tables, overlapping lines): only the whole page gives such text its context.
std::vector<QRect> cut(tesseract::PageIterator& layout, QSize page, int threads);

} // namespace tramix::TextBands
