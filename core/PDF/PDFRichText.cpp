#include "PDFRichText.h"

#include "ConversionError.h"
#include "PDFDocument.h"
#include "PDFPageImages.h"
#include "PDFRenderer.h"
#include "PDFScanText.h"
#include "PDFTextLayout.h"

#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace tramix::PDFRichText {

namespace {

using PDFTextLayout::Paragraph;
using PDFTextLayout::Word;

// Reading the words is quick; most of the time goes to the pictures.
constexpr double textShare = 0.3;

// Most documents set their headings in no more than three sizes; smaller ones are level 3.
constexpr int deepestHeading = 3;
// A heading is short: longer text in large letters is a paragraph in large print.
constexpr int headingLines = 3;
constexpr qsizetype headingLetters = 200;

const QString scanFont = QStringLiteral("Helvetica");
constexpr double scanFontSize = 12;

struct FontStyle {
    bool bold = false;
    bool italic = false;
    QString family;
};

// Style and family from a font's name, such as "ABCDEF+LiberationSerif-BoldItalic",
// "Arial,Bold", "TimesNewRomanPS-ItalicMT", "MinionPro-SemiboldIt" or TeX's "CMBX12".
FontStyle styleOf(const std::string& fontName) {
    static const QRegularExpression subset(QStringLiteral("^[A-Z]{6}\\+"));
    static const QRegularExpression bold(QStringLiteral("bold|black|heavy|semibold|demi"),
                                         QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression italic(QStringLiteral("italic|oblique|ital"),
                                           QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression italicWord(QStringLiteral("italic|oblique"),
                                               QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression shortItalic(QStringLiteral("(?:^|[-,a-z])It(?:MT)?$"));
    static const QRegularExpression texBold(QStringLiteral("^CM(?:B|BX|SSBX)\\d"));
    static const QRegularExpression texItalic(QStringLiteral("^CM(?:TI|SL|MI|BXTI|SSI)\\d"));
    static const QRegularExpression trailer(QStringLiteral("(?:PSMT|PS|MT)$"));
    static const QRegularExpression camel(QStringLiteral("([a-z])([A-Z])"));
    static const QRegularExpression styleSeparator(QStringLiteral("[-,]"));
    const QString name = QString::fromLatin1(fontName).remove(subset);
    // The style is looked for after the family ("Italianno-Regular" is upright), in names
    // without a separator only as whole words.
    const qsizetype separator = name.indexOf(styleSeparator);
    const QString part = separator < 0 ? QString() : name.mid(separator + 1);
    FontStyle style;
    style.bold = (separator < 0 ? bold.match(name) : bold.match(part)).hasMatch() ||
                 texBold.match(name).hasMatch();
    style.italic = (separator < 0 ? italicWord.match(name) : italic.match(part)).hasMatch() ||
                   shortItalic.match(name).hasMatch() || texItalic.match(name).hasMatch();
    style.family = name.section(styleSeparator, 0, 0)
                       .remove(trailer)
                       .replace(camel, QStringLiteral("\\1 \\2"));
    return style;
}

// A word's box on a page whose text runs turned by `turns` quarter turns, as if it were upright.
QRectF upright(const QRectF& box, int turns, QSizeF page) {
    switch (turns) {
    case 1:
        return {box.top(), page.width() - box.right(), box.height(), box.width()};
    case 2:
        return {page.width() - box.right(), page.height() - box.bottom(), box.width(),
                box.height()};
    case 3:
        return {page.height() - box.bottom(), box.left(), box.height(), box.width()};
    default:
        return box;
    }
}

// A page's text, turned upright when most of it runs down or up the page as shown.
struct PageText {
    QList<Paragraph> paragraphs;
    QSizeF size;   // upright
    int turns = 0; // quarter turns from the page as shown to upright
    QSizeF shown;  // the page as shown
};

// The words of the page in poppler's reading order, in the direction most of them run.
PageText textOf(const poppler::page& page, std::map<QString, qsizetype>& families) {
    std::vector<poppler::text_box> boxes = page.text_list(poppler::page::text_list_include_font);
    std::map<int, int> turns;
    for (const poppler::text_box& box : boxes)
        ++turns[box.rotation()];
    const int turn =
        turns.empty() ? 0 : std::max_element(turns.begin(), turns.end(), [](auto& a, auto& b) {
                                return a.second < b.second;
                            })->first;
    const QSizeF shown = PDFRenderer::pointSize(page);
    QList<Word> words;
    for (const poppler::text_box& box : boxes) {
        if (box.rotation() != turn)
            continue; // text along a margin
        const poppler::byte_array utf8 = box.text().to_utf8();
        const poppler::rectf r = box.bbox();
        Word word;
        word.text = QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
        word.box = upright(QRectF(r.x(), r.y(), r.width(), r.height()), turn, shown);
        word.size = box.has_font_info() ? box.get_font_size() : word.box.height();
        word.spaceAfter = box.has_space_after();
        if (box.has_font_info()) {
            const FontStyle style = styleOf(box.get_font_name());
            word.bold = style.bold;
            word.italic = style.italic;
            families[style.family] += word.text.size();
        }
        words.append(word);
    }
    const QSizeF upright = turn % 2 ? shown.transposed() : shown;
    return {PDFTextLayout::paragraphs(words, upright), upright, turn, shown};
}

bool emptyText(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) {
        return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r' || c == u'\f';
    });
}

// Running heads and feet: single lines no larger than the body text in a page's margin band
// that recur, their numbers aside, on another page. A heading near the top that shares its
// words is larger.
void dropRunningLines(std::vector<PageText>& pages, double body) {
    static const QRegularExpression digits(QStringLiteral("\\d+"));
    auto running = [body](const Paragraph& paragraph, const PageText& page) {
        return paragraph.lines == 1 && paragraph.size < body * boldHeadingScale &&
               PDFTextLayout::inMargin(paragraph.box, page.size);
    };
    auto key = [](const Paragraph& paragraph) {
        return paragraph.text().replace(digits, QStringLiteral("#")).simplified();
    };
    QHash<QString, int> pagesWith;
    for (const PageText& page : pages) {
        QSet<QString> seen;
        for (const Paragraph& paragraph : page.paragraphs) {
            if (running(paragraph, page))
                seen.insert(key(paragraph));
        }
        for (const QString& text : seen)
            ++pagesWith[text];
    }
    for (PageText& page : pages) {
        page.paragraphs.removeIf([&](const Paragraph& paragraph) {
            return running(paragraph, page) && pagesWith.value(key(paragraph)) > 1;
        });
    }
}

// The size of most letters of the document, to the half point.
double bodySize(const std::vector<PageText>& pages) {
    std::map<int, qsizetype> letters;
    for (const PageText& page : pages) {
        for (const Paragraph& paragraph : page.paragraphs)
            letters[int(std::lround(paragraph.size * 2))] += paragraph.text().size();
    }
    const auto most = std::max_element(letters.begin(), letters.end(),
                                       [](auto& a, auto& b) { return a.second < b.second; });
    return most == letters.end() ? scanFontSize : most->first / 2.0;
}

bool headingLike(const Paragraph& paragraph, double body) {
    const bool allBold = std::all_of(paragraph.runs.begin(), paragraph.runs.end(),
                                     [](const StyledRun& run) { return run.bold; });
    const bool larger = paragraph.size >= body * headingScale ||
                        (allBold && paragraph.size >= body * boldHeadingScale);
    return !paragraph.listItem && larger && paragraph.lines <= headingLines &&
           paragraph.text().size() <= headingLetters;
}

// Heading levels by size: the largest heading size is level 1, the next 2, all smaller 3.
std::map<int, int> headingLevels(const std::vector<PageText>& pages, double body) {
    std::set<int, std::greater<int>> sizes;
    for (const PageText& page : pages) {
        for (const Paragraph& paragraph : page.paragraphs) {
            if (headingLike(paragraph, body))
                sizes.insert(int(std::lround(paragraph.size * 2)));
        }
    }
    std::map<int, int> levels;
    int level = 1;
    for (const int size : sizes)
        levels[size] = std::min(level++, deepestHeading);
    return levels;
}

// A paragraph's list mark is printed again as text.
void restoreMark(Paragraph& paragraph) {
    const StyledRun first = paragraph.runs.value(0);
    paragraph.runs.prepend(StyledRun{paragraph.mark + u' ', first.bold, first.italic});
    paragraph.listItem = paragraph.ordered = false;
    paragraph.mark.clear();
}

// "3." or "c)" as a number, from 1.
int numberOf(const QString& mark) {
    const QString value = mark.chopped(1);
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    return isNumber ? number : value.isEmpty() ? 0 : value[0].unicode() - u'a' + 1;
}

// A numbered list written again counts from 1, and numbered headings are headings: only
// numbers that start at 1 or go on from the item before stay list items, over page breaks and
// bulleted lists inside too; others, and items in heading size, keep their number as text.
void checkNumbering(std::vector<PageText>& pages, double body) {
    int last = 0;
    for (PageText& page : pages) {
        for (Paragraph& paragraph : page.paragraphs) {
            if (paragraph.listItem && paragraph.size >= body * headingScale) {
                restoreMark(paragraph);
            } else if (paragraph.listItem && paragraph.ordered) {
                const int number = numberOf(paragraph.mark);
                if (number != 1 && number != last + 1) {
                    restoreMark(paragraph);
                    last = 0;
                } else {
                    last = number;
                }
            } else if (!paragraph.listItem) {
                last = 0; // a bulleted list inside a numbered one does not end it
            }
        }
    }
}

StyledBlock blockOf(const Paragraph& paragraph, double body, const std::map<int, int>& levels) {
    StyledBlock block;
    block.runs = paragraph.runs;
    if (paragraph.listItem) {
        block.kind = StyledBlock::Kind::listItem;
        block.ordered = paragraph.ordered;
    } else if (headingLike(paragraph, body)) {
        block.kind = StyledBlock::Kind::heading;
        block.level = levels.at(int(std::lround(paragraph.size * 2)));
    }
    return block;
}

// The page's text blocks with its pictures, each picture before the first text below its top
// that shares some of its width, so that a picture beside a column lands in that column.
QList<StyledBlock> withImages(const PageText& page, QList<PDFPageImages::PageImage> images,
                              double body, const std::map<int, int>& levels) {
    for (PDFPageImages::PageImage& image : images)
        image.placed = upright(image.placed, page.turns, page.shown);
    const QRectF whole(QPointF(0, 0), page.size);
    images.removeIf([&](const PDFPageImages::PageImage& image) {
        const QRectF shown = image.placed.intersected(whole);
        const bool background =
            !page.paragraphs.isEmpty() &&
            shown.width() * shown.height() >= backgroundShare * whole.width() * whole.height();
        return shown.isEmpty() || background;
    });
    std::stable_sort(images.begin(), images.end(),
                     [](auto& a, auto& b) { return a.placed.top() < b.placed.top(); });
    QList<StyledBlock> blocks;
    QList<QRectF> boxes;
    for (const Paragraph& paragraph : page.paragraphs) {
        blocks.append(blockOf(paragraph, body, levels));
        boxes.append(paragraph.box);
    }
    for (const PDFPageImages::PageImage& image : images) {
        auto below = [&](bool sharingWidth) {
            for (qsizetype i = 0; i < boxes.size(); ++i) {
                const bool shares = boxes[i].right() > image.placed.left() &&
                                    boxes[i].left() < image.placed.right();
                if (boxes[i].top() >= image.placed.top() && (shares || !sharingWidth))
                    return i;
            }
            return qsizetype(-1);
        };
        qsizetype at = below(true);
        if (at < 0)
            at = below(false);
        if (at < 0)
            at = blocks.size();
        StyledBlock block;
        block.kind = StyledBlock::Kind::image;
        block.image = image.encoded;
        block.mimeType = image.mimeType;
        block.size = image.placed.size();
        blocks.insert(at, block);
        boxes.insert(at, image.placed);
    }
    return blocks;
}

// The pictures of every page, or none of a page that qpdf cannot read.
std::vector<QPDFPageObjectHelper> imagePages(const QString& pdf, std::shared_ptr<QPDF>& keep) {
    try {
        keep = PDFDocument::open(pdf);
        return PDFDocument::pages(*keep, QFileInfo(pdf).fileName());
    } catch (const std::exception&) {
        return {};
    }
}

StyledText recognised(const QString& pdf, int pageCount, const OutputContext& context) {
    QList<int> indexes;
    for (int i = 0; i < pageCount; ++i)
        indexes.append(i);
    const QStringList pages = PDFScanText::recognizePages(pdf, indexes);
    context.throwIfCancelled();
    StyledText text;
    text.fontFamily = scanFont;
    text.fontSize = scanFontSize;
    static const QRegularExpression blankLine(QStringLiteral("\\n[ \\t\\r\\f]*\\n"));
    for (const QString& page : pages) {
        const qsizetype before = text.blocks.size();
        for (const QString& piece : page.split(blankLine)) {
            const QString paragraph = PDFTextLayout::joinedLines(piece.split(u'\n'));
            if (paragraph.isEmpty())
                continue;
            if (before > 0 && text.blocks.size() == before)
                text.blocks.append(StyledBlock{.kind = StyledBlock::Kind::pageBreak});
            text.blocks.append(StyledBlock{.runs = {StyledRun{paragraph}}});
        }
    }
    context.reportFraction(1);
    if (text.blocks.isEmpty())
        throw ConversionError::failed(QStringLiteral("Im PDF wurde kein Text gefunden."));
    return text;
}

} // namespace

StyledText read(const QString& pdf, const OutputContext& context) {
    std::unique_ptr<poppler::document> document = PDFRenderer::open(pdf, false);
    const int count = document->pages();
    std::vector<PageText> pages;
    std::map<QString, qsizetype> families;
    QString plain;
    for (int i = 0; i < count; ++i) {
        context.throwIfCancelled();
        std::unique_ptr<poppler::page> page(document->create_page(i));
        pages.push_back(page ? textOf(*page, families) : PageText{});
        for (const Paragraph& paragraph : pages.back().paragraphs)
            plain += paragraph.text();
        context.reportFraction(textShare * (i + 1) / count);
    }
    if (emptyText(plain))
        return recognised(pdf, count, context);

    StyledText text;
    text.fontSize = bodySize(pages);
    dropRunningLines(pages, text.fontSize);
    checkNumbering(pages, text.fontSize);
    const auto family = std::max_element(families.begin(), families.end(),
                                         [](auto& a, auto& b) { return a.second < b.second; });
    text.fontFamily = family == families.end() ? scanFont : family->first;
    const std::map<int, int> levels = headingLevels(pages, text.fontSize);
    std::shared_ptr<QPDF> keep;
    const std::vector<QPDFPageObjectHelper> drawn = imagePages(pdf, keep);
    for (int i = 0; i < count; ++i) {
        context.throwIfCancelled();
        const QList<PDFPageImages::PageImage> images = size_t(i) < drawn.size()
                                                           ? PDFPageImages::read(drawn[size_t(i)])
                                                           : QList<PDFPageImages::PageImage>{};
        const QList<StyledBlock> blocks =
            withImages(pages[size_t(i)], images, text.fontSize, levels);
        if (!blocks.isEmpty() && !text.blocks.isEmpty())
            text.blocks.append(StyledBlock{.kind = StyledBlock::Kind::pageBreak});
        text.blocks += blocks;
        context.reportFraction(textShare + (1 - textShare) * (i + 1) / count);
    }
    return text;
}

} // namespace tramix::PDFRichText
