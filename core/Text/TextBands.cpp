#include "TextBands.h"

#include <algorithm>
#include <tesseract/pageiterator.h>

namespace tramix::TextBands {

namespace {

using namespace tesseract;

// Bands of fewer lines cost more in setting up than they save.
constexpr int fewestLines = 4;
// A few bands per thread, so that no thread idles at the end while another reads a long band.
constexpr int bandsPerThread = 3;

using Lines = std::vector<QRect>;

QRect boxAt(tesseract::PageIterator& layout, PageIteratorLevel level) {
    int left = 0, top = 0, right = 0, bottom = 0;
    if (!layout.BoundingBox(level, &left, &top, &right, &bottom))
        return {};
    return QRect(QPoint(left, top), QPoint(right - 1, bottom - 1));
}

bool horizontalText(PolyBlockType type) {
    return type == PT_FLOWING_TEXT || type == PT_HEADING_TEXT || type == PT_PULLOUT_TEXT ||
           type == PT_CAPTION_TEXT;
}

// Lines that overlap one another (a table read as text, say) cannot be parted by rectangles.
bool onTopOfEachOther(const Lines& lines) {
    for (size_t i = 1; i < lines.size(); ++i) {
        if (lines[i].top() <= lines[i - 1].bottom())
            return false;
    }
    return !lines.empty();
}

// The lines of the block at the iterator, none when they are not rows one above the other.
Lines linesOfBlock(tesseract::PageIterator& layout) {
    if (!horizontalText(layout.BlockType()))
        return {};
    Lines lines;
    do {
        const QRect line = boxAt(layout, RIL_TEXTLINE);
        if (!line.isEmpty())
            lines.push_back(line);
    } while (!layout.IsAtFinalElement(RIL_BLOCK, RIL_TEXTLINE) && layout.Next(RIL_TEXTLINE));
    return onTopOfEachOther(lines) ? lines : Lines();
}

// The line rows of every text block in reading order; none when a block has text in another form.
std::vector<Lines> blocksOf(tesseract::PageIterator& layout) {
    std::vector<Lines> blocks;
    layout.Begin();
    do {
        const PolyBlockType type = layout.BlockType();
        if (PTIsImageType(type) || PTIsLineType(type) || boxAt(layout, RIL_BLOCK).isEmpty())
            continue;
        Lines lines = linesOfBlock(layout);
        if (lines.empty())
            return {};
        blocks.push_back(std::move(lines));
    } while (layout.Next(RIL_BLOCK));
    return blocks;
}

void cutBlock(const Lines& lines, int linesPerBand, QSize page, std::vector<QRect>& bands) {
    for (size_t first = 0; first < lines.size(); first += size_t(linesPerBand)) {
        const size_t last = std::min(lines.size(), first + size_t(linesPerBand)) - 1;
        QRect ink;
        for (size_t i = first; i <= last; ++i)
            ink |= lines[i];
        const int margin = std::max(2, ink.height() / int(last - first + 1) / 4);
        // Half of the gap to a neighbouring line of the block at most, so no band sees a
        // sliver of a line that another band reads.
        const int above = first > 0 ? (ink.top() - lines[first - 1].bottom() - 1) / 2 : margin;
        const int below =
            last + 1 < lines.size() ? (lines[last + 1].top() - ink.bottom() - 1) / 2 : margin;
        const QRect area = ink.adjusted(-margin, -std::clamp(above, 0, margin), margin,
                                        std::clamp(below, 0, margin));
        bands.push_back(area & QRect(QPoint(), page));
    }
}

} // namespace

std::vector<QRect> cut(tesseract::PageIterator& layout, QSize page, int threads) {
    const std::vector<Lines> blocks = blocksOf(layout);
    qsizetype lines = 0;
    for (const Lines& block : blocks)
        lines += qsizetype(block.size());
    const int wanted = std::max(1, threads * bandsPerThread);
    const int linesPerBand = std::max(fewestLines, int((lines + wanted - 1) / wanted));
    std::vector<QRect> bands;
    for (const Lines& block : blocks)
        cutBlock(block, linesPerBand, page, bands);
    return bands;
}

} // namespace tramix::TextBands
