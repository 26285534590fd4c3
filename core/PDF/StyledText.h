// A flowing, editable document read out of a PDF: paragraphs, headings, list items, page breaks
// and pictures, with bold and italic runs, in reading order.
#pragma once

#include <QByteArray>
#include <QList>
#include <QSizeF>
#include <QString>
#include <QStringList>

namespace tramix {

struct StyledRun {
    QString text = {};
    bool bold = false;
    bool italic = false;

    bool operator==(const StyledRun&) const = default;
};

struct StyledBlock {
    enum class Kind { paragraph, heading, listItem, pageBreak, image };

    Kind kind = Kind::paragraph;
    QList<StyledRun> runs = {}; // paragraph, heading, list item: without a bullet or number
    int level = 0;              // heading: 1 (largest) to 3
    bool ordered = false;       // list item: numbered rather than bulleted
    QByteArray image = {};      // image: PNG or JPEG as encoded
    QString mimeType = {};      // image: "image/png" or "image/jpeg"
    QSizeF size = {};           // image: as shown on the page, in points

    bool hasText() const {
        return kind == Kind::paragraph || kind == Kind::heading || kind == Kind::listItem;
    }

    QString text() const {
        QString joined;
        for (const StyledRun& run : runs)
            joined += run.text;
        return joined;
    }
};

struct StyledText {
    QList<StyledBlock> blocks;
    QString fontFamily;   // of the body text
    double fontSize = 12; // of the body text, in points

    // Blocks with text, one per line; paragraphs and headings are set apart by a blank line.
    QString plainText() const {
        QString text;
        const StyledBlock* previous = nullptr;
        for (const StyledBlock& block : blocks) {
            if (!block.hasText())
                continue;
            if (previous) {
                const bool sameList = previous->kind == StyledBlock::Kind::listItem &&
                                      block.kind == StyledBlock::Kind::listItem;
                text += sameList ? QStringLiteral("\n") : QStringLiteral("\n\n");
            }
            text += block.text();
            previous = &block;
        }
        return text;
    }
};

} // namespace tramix
