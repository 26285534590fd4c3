#include "PDFTextLayout.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

namespace tramix::PDFTextLayout {

namespace {

// A word continues the line when it shares at least this part of the lower word's height.
constexpr double sameLine = 0.5;
// Lines whose letters differ by more than this factor belong to different paragraphs (a heading
// and its text).
constexpr double sizeChange = 1.05;
// Lines further apart than the page's usual line pitch by this factor are set apart as
// paragraphs (word processors place lines to the pixel, so pitches vary a little); without a
// usual pitch, lines further apart than this many line heights.
constexpr double pitchSlack = 1.3;
constexpr double pitchSlackPoints = 1;
constexpr double unknownPitch = 1.35;
// Indents and alignments are told apart at this part of the letter size.
constexpr double indent = 0.8;
// Between two words on a line, a gap of this part of the letter size is a space even where
// poppler saw none.
constexpr double spaceGap = 0.2;
// A number mark followed by at least this gap (a tab, not a space) starts a numbered item even
// inside running text.
constexpr double markGap = 0.4;
// A list's mark set apart from its text (by a tab) is at most this many letter sizes before it.
constexpr double markReach = 5;

struct Line {
    QList<Word> words;
    QRectF box;
    double size = 0;
    double edge = 0; // the right edge of the column the line belongs to
};

// The size most letters have, to the half point.
double dominantSize(const QList<Word>& words) {
    std::map<int, qsizetype> letters;
    for (const Word& word : words)
        letters[int(std::lround(word.size * 2))] += word.text.size();
    const auto most = std::max_element(letters.begin(), letters.end(),
                                       [](auto& a, auto& b) { return a.second < b.second; });
    return most == letters.end() ? 0 : most->first / 2.0;
}

QList<Line> linesOf(const QList<Word>& words) {
    QList<Line> lines;
    for (const Word& word : words) {
        if (word.text.trimmed().isEmpty())
            continue;
        bool continues = false;
        if (!lines.isEmpty()) {
            const Word& last = lines.last().words.last();
            const double shared = std::min(last.box.bottom(), word.box.bottom()) -
                                  std::max(last.box.top(), word.box.top());
            const double lower = std::min(last.box.height(), word.box.height());
            continues = shared > sameLine * lower &&
                        word.box.left() > last.box.right() - 0.25 * std::max(word.size, 1.0);
        }
        if (!continues)
            lines.append(Line{});
        Line& line = lines.last();
        line.words.append(word);
        line.box = line.box.isNull() ? word.box : line.box.united(word.box);
    }
    for (Line& line : lines)
        line.size = dominantSize(line.words);
    return lines;
}

QString textOf(const Line& line) {
    QStringList words;
    for (const Word& word : line.words)
        words.append(word.text);
    return words.join(u' ');
}

bool isPageNumber(const Line& line, QSizeF page) {
    static const QRegularExpression number(
        QStringLiteral(R"(^(?:[-–—]\s*)?(?:(?:Seite|Page|S\.|p\.)\s*)?\d{1,4})"
                       R"((?:\s*(?:/|von|of)\s*\d{1,4})?(?:\s*[-–—])?$)"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression roman(QStringLiteral("^(?:[ivxlc]{1,6}|[IVXLC]{1,6})$"));
    const QString text = textOf(line);
    return inMargin(line.box, page) &&
           (number.match(text).hasMatch() || roman.match(text).hasMatch());
}

bool similarSize(double a, double b) {
    return std::max(a, b) <= sizeChange * std::min(a, b);
}

// The right edge of each line's column: the furthest that lines of its size reach that start
// where it starts and share at least half of the shorter one's width. Where it starts, because
// an indented quotation ends short of the text around it.
void findEdges(QList<Line>& lines) {
    for (Line& line : lines) {
        line.edge = line.box.right();
        for (const Line& other : lines) {
            const double shared = std::min(line.box.right(), other.box.right()) -
                                  std::max(line.box.left(), other.box.left());
            if (similarSize(line.size, other.size) &&
                std::abs(line.box.left() - other.box.left()) < indent * line.size &&
                shared >= 0.5 * std::min(line.box.width(), other.box.width()))
                line.edge = std::max(line.edge, other.box.right());
        }
    }
}

// The usual distance from one line's bottom to the next, by letter size (to the half point).
// Bottoms, because a word's box is as tall as its tallest glyph's font, which a quote mark
// from another font can raise.
std::map<int, double> usualPitches(const QList<Line>& lines) {
    std::map<int, std::map<int, int>> seen;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const Line &a = lines[i - 1], &b = lines[i];
        const double pitch = b.box.bottom() - a.box.bottom();
        if (similarSize(a.size, b.size) && pitch > 0 && pitch < 2.5 * a.size)
            ++seen[int(std::lround(a.size * 2))][int(std::lround(pitch * 2))];
    }
    std::map<int, double> usual;
    for (const auto& [size, pitches] : seen) {
        const auto most = std::max_element(pitches.begin(), pitches.end(),
                                           [](auto& a, auto& b) { return a.second < b.second; });
        usual[size] = most->first / 2.0;
    }
    return usual;
}

// A line of a table of contents: its title, a row of leader dots and the page.
bool isContentsEntry(const Line& line) {
    static const QRegularExpression leader(
        QStringLiteral(R"((?:\.{4,}|(?:\. ?){4,}|…{2,})\s*\S{1,8}$)"));
    return leader.match(textOf(line)).hasMatch();
}

bool isBullet(QChar c) {
    static const QString bullets = QStringLiteral("•◦▪▫■□●○‣⁃∙·–-*\uF0B7\uF0A7");
    return bullets.contains(c);
}

struct Mark {
    bool found = false;
    bool ordered = false;
    bool glued = false; // a bullet stuck to the first word
    double gap = 0;     // from the mark to the text
};

// "1.", "12)" or "a)": a numbered item's mark.
bool isNumberMark(const QString& word) {
    static const QRegularExpression number(QStringLiteral(R"(^(?:\d{1,3}[.)]|[a-z]\))$)"));
    return number.match(word).hasMatch();
}

Mark markOf(const Line& line) {
    const QString first = line.words.first().text;
    if (line.words.size() < 2 && first.size() < 2)
        return {};
    const double gap =
        line.words.size() > 1 ? line.words[1].box.left() - line.words.first().box.right() : 0;
    if (first.size() == 1 && isBullet(first[0]) && line.words.size() > 1)
        return {true, false, false, gap};
    // Only real bullet glyphs are taken off a word; a hyphen or star before a word is text.
    if (first.size() > 1 && isBullet(first[0]) && first[0] != u'-' && first[0] != u'*' &&
        first[0] != u'–' && first[0] != u'·')
        return {true, false, true, 0};
    if (line.words.size() > 1 && isNumberMark(first))
        return {true, true, false, gap};
    return {};
}

bool isLoneMark(const Line& line) {
    if (line.words.size() != 1)
        return false;
    const QString& text = line.words.first().text;
    return (text.size() == 1 && isBullet(text[0])) || isNumberMark(text);
}

// Word processors set a list's marks apart from their text, and poppler often hands them over as
// lines of their own, all of a list's marks before its text: each goes back to the start of the
// line it stands beside.
void attachMarks(QList<Line>& lines) {
    for (qsizetype i = 0; i < lines.size();) {
        if (!isLoneMark(lines[i])) {
            ++i;
            continue;
        }
        const Line& mark = lines[i];
        const double reach = markReach * std::max(mark.size, 1.0);
        qsizetype beside = -1;
        for (qsizetype j = 0; j < lines.size(); ++j) {
            const Line& text = lines[j];
            const double shared = std::min(mark.box.bottom(), text.box.bottom()) -
                                  std::max(mark.box.top(), text.box.top());
            const double gap = text.box.left() - mark.box.right();
            if (j != i && !isLoneMark(text) &&
                shared > sameLine * std::min(mark.box.height(), text.box.height()) && gap > -1 &&
                gap < reach && (beside < 0 || text.box.left() < lines[beside].box.left()))
                beside = j;
        }
        if (beside < 0) {
            ++i;
            continue;
        }
        lines[beside].words.prepend(mark.words.first());
        lines[beside].box = lines[beside].box.united(mark.box);
        lines.removeAt(i);
    }
}

bool startsLowercase(const Line& line) {
    const QString& first = line.words.first().text;
    return !first.isEmpty() && first[0].isLower();
}

double centre(const Line& line) {
    return line.box.center().x();
}

// Lines set centred under each other rather than flush left; lines that start nearly alike
// are told apart by the other rules.
bool centred(const Line& a, const Line& b) {
    const double size = std::max(a.size, b.size);
    return std::abs(centre(a) - centre(b)) < 0.5 * size &&
           std::abs(a.box.left() - b.box.left()) > 2 * indent * size;
}

bool allBold(const Line& line) {
    return std::all_of(line.words.begin(), line.words.end(),
                       [](const Word& word) { return word.bold; });
}

struct Building {
    Paragraph paragraph;
    QList<const Line*> lines;
    double markLeft = 0;
    double textLeft = 0;
    QString lastWord;
};

// Whether `b` cannot continue the paragraph that `a` is the last line of, its list mark aside.
bool breaksBefore(const Building& current, const Line& a, const Line& b,
                  const std::map<int, double>& pitches) {
    const double size = std::max(a.size, b.size);
    if (!similarSize(a.size, b.size) || isContentsEntry(a))
        return true;
    // An item's lines after the first are indented to its text, and end where the first ends.
    const double edge =
        current.paragraph.listItem ? std::max(a.edge, current.lines.first()->edge) : a.edge;
    // A line ending in a word broken at a hyphen goes on, wherever it ends.
    const bool hyphenated = joinOf(a.words.last().text, b.words.first().text) != Join::space;
    const bool endedShort =
        !hyphenated && edge - a.box.right() > b.words.first().box.width() + (0.3 + 0.5) * size;
    const double pitch = b.box.bottom() - a.box.bottom();
    if (pitch < 0.5 * a.box.height()) // the next column or block, beside or above
        return endedShort || !startsLowercase(b);
    const auto usual = pitches.find(int(std::lround(a.size * 2)));
    const double most = usual != pitches.end()
                            ? usual->second * pitchSlack + pitchSlackPoints
                            : unknownPitch * std::max(a.box.height(), b.box.height());
    if (pitch > most)
        return true;
    // A heading in the body's size, such as "Abstract" centred over its text.
    if (allBold(a) && !allBold(b) && a.box.right() < b.box.right() - indent * size)
        return true;
    if (centred(a, b))
        return false;
    if (endedShort)
        return true;
    if (current.paragraph.listItem)
        return std::abs(b.box.left() - current.textLeft) > indent * size;
    if (current.lines.size() == 1) // a first line may be indented, the next not
        return b.box.left() > a.box.left() + indent * size;
    return std::abs(b.box.left() - current.lines[1]->box.left()) > indent * size;
}

// Adds a word to the runs; the space before it goes with the plain side of a change of style,
// so that styled runs hold only their words.
void appendWord(QList<StyledRun>& runs, const Word& word, const QString& text,
                const QString& separator) {
    if (!runs.isEmpty() && runs.last().bold == word.bold && runs.last().italic == word.italic) {
        runs.last().text += separator + text;
        return;
    }
    const bool plain = !word.bold && !word.italic;
    if (!runs.isEmpty() && !plain)
        runs.last().text += separator;
    runs.append(
        StyledRun{plain && !runs.isEmpty() ? separator + text : text, word.bold, word.italic});
}

void appendLine(Building& building, const Line& line, int skipWords, bool first) {
    QList<StyledRun>& runs = building.paragraph.runs;
    for (qsizetype i = skipWords; i < line.words.size(); ++i) {
        const Word& word = line.words[i];
        QString text = word.text;
        if (i == 0 && skipWords == 0 && building.paragraph.listItem && first)
            text = text.mid(1); // the bullet stuck to it
        QString separator;
        if (i == skipWords && !first) {
            switch (joinOf(building.lastWord, text)) {
            case Join::hyphenDropped:
                runs.last().text.chop(1);
                break;
            case Join::hyphenKept:
                break;
            case Join::space:
                separator = QStringLiteral(" ");
                break;
            }
        } else if (i > skipWords) {
            const Word& before = line.words[i - 1];
            if (before.spaceAfter || word.box.left() - before.box.right() > spaceGap * word.size)
                separator = QStringLiteral(" ");
        }
        if (runs.isEmpty())
            separator.clear();
        appendWord(runs, word, text, separator);
        building.lastWord = text;
    }
    building.lines.append(&line);
    building.paragraph.box =
        building.paragraph.box.isNull() ? line.box : building.paragraph.box.united(line.box);
}

} // namespace

bool inMargin(const QRectF& box, QSizeF page) {
    return box.bottom() < page.height() * marginBand ||
           box.top() > page.height() * (1 - marginBand);
}

Join joinOf(const QString& last, const QString& next) {
    if (last.endsWith(QChar(0x00AD)))
        return Join::hyphenDropped;
    const bool hyphen = last.endsWith(u'-') || last.endsWith(QChar(0x2010));
    if (!hyphen || last.size() < 2 || !last[last.size() - 2].isLetter())
        return Join::space;
    return !next.isEmpty() && next[0].isLower() ? Join::hyphenDropped : Join::hyphenKept;
}

QString joinedLines(const QStringList& lines) {
    QString text;
    for (const QString& raw : lines) {
        const QString line = raw.simplified();
        if (line.isEmpty())
            continue;
        if (text.isEmpty()) {
            text = line;
            continue;
        }
        const QString last = text.mid(text.lastIndexOf(u' ') + 1);
        switch (joinOf(last, line.section(u' ', 0, 0))) {
        case Join::hyphenDropped:
            text.chop(1);
            text += line;
            break;
        case Join::hyphenKept:
            text += line;
            break;
        case Join::space:
            text += u' ' + line;
            break;
        }
    }
    return text;
}

QList<Paragraph> paragraphs(const QList<Word>& words, QSizeF page) {
    QList<Line> lines = linesOf(words);
    lines.removeIf([&](const Line& line) { return isPageNumber(line, page); });
    attachMarks(lines);
    findEdges(lines);
    const std::map<int, double> pitches = usualPitches(lines);

    QList<Paragraph> found;
    std::optional<Building> current;
    auto finish = [&] {
        if (!current)
            return;
        QList<Word> all;
        for (const Line* line : current->lines)
            all += line->words;
        current->paragraph.size = dominantSize(all);
        current->paragraph.lines = int(current->lines.size());
        current->paragraph.runs.removeIf([](const StyledRun& run) { return run.text.isEmpty(); });
        if (!current->paragraph.runs.isEmpty())
            found.append(current->paragraph);
        current.reset();
    };
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const Line& line = lines[i];
        const Mark mark = markOf(line);
        bool starts = !current || breaksBefore(*current, lines[i - 1], line, pitches);
        if (!starts && mark.found) {
            const double size = line.size;
            starts = !mark.ordered || mark.gap >= markGap * size ||
                     (current->paragraph.listItem && current->paragraph.ordered &&
                      std::abs(line.box.left() - current->markLeft) < indent * size);
        }
        if (!starts) {
            appendLine(*current, line, 0, false);
            continue;
        }
        finish();
        current.emplace();
        current->paragraph.listItem = mark.found;
        current->paragraph.ordered = mark.ordered;
        if (mark.found)
            current->paragraph.mark =
                mark.glued ? line.words.first().text.left(1) : line.words.first().text;
        current->markLeft = line.box.left();
        const int skip = mark.found && !mark.glued ? 1 : 0;
        current->textLeft = line.words[skip].box.left();
        appendLine(*current, line, skip, true);
    }
    finish();
    return found;
}

} // namespace tramix::PDFTextLayout
