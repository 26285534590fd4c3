#include "TextBand.h"

#include <algorithm>
#include <tesseract/pageiterator.h>

namespace tramix {

namespace {

using namespace tesseract;

// Bands of fewer lines cost more in setting up than they save.
constexpr int fewestLines = 4;
// A few bands per thread, so that a thread that drew short lines is not left idle at the end.
constexpr int bandsPerThread = 3;

struct Block {
    QRect area;
    bool stacked;
    std::vector<QRect> lines;
};

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
bool onTopOfEachOther(const std::vector<QRect>& lines) {
    for (size_t i = 1; i < lines.size(); ++i) {
        if (lines[i].top() <= lines[i - 1].bottom())
            return false;
    }
    return !lines.empty();
}

Block blockAt(tesseract::PageIterator& layout) {
    Block block{boxAt(layout, RIL_BLOCK), horizontalText(layout.BlockType()), {}};
    if (!block.stacked)
        return block;
    do {
        const QRect line = boxAt(layout, RIL_TEXTLINE);
        if (!line.isEmpty())
            block.lines.push_back(line);
    } while (!layout.IsAtFinalElement(RIL_BLOCK, RIL_TEXTLINE) && layout.Next(RIL_TEXTLINE));
    block.stacked = onTopOfEachOther(block.lines);
    return block;
}

std::vector<Block> blocksOf(tesseract::PageIterator& layout) {
    std::vector<Block> blocks;
    layout.Begin();
    do {
        const PolyBlockType type = layout.BlockType();
        if (!PTIsImageType(type) && !PTIsLineType(type))
            blocks.push_back(blockAt(layout));
    } while (layout.Next(RIL_BLOCK));
    std::erase_if(blocks, [](const Block& block) { return block.area.isEmpty(); });
    return blocks;
}

void cutBlock(const Block& block, int linesPerBand, QSize page, std::vector<TextBand>& bands) {
    const std::vector<QRect>& lines = block.lines;
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
        bands.push_back({area & QRect(QPoint(), page), true});
    }
}

} // namespace

std::vector<TextBand> TextBand::cut(tesseract::PageIterator& layout, QSize page, int threads) {
    const std::vector<Block> blocks = blocksOf(layout);
    qsizetype lines = 0;
    for (const Block& block : blocks)
        lines += block.stacked ? qsizetype(block.lines.size()) : 0;
    const int wanted = std::max(1, threads * bandsPerThread);
    const int linesPerBand = std::max(fewestLines, int((lines + wanted - 1) / wanted));
    const int margin = page.height() / 200 + 1;
    std::vector<TextBand> bands;
    for (const Block& block : blocks) {
        if (block.stacked)
            cutBlock(block, linesPerBand, page, bands);
        else
            bands.push_back(
                {block.area.adjusted(-margin, -margin, margin, margin) & QRect(QPoint(), page),
                 false});
    }
    return bands;
}

} // namespace tramix
