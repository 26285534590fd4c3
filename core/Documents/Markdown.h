// Markdown into one complete, self-styled HTML document: a small line-oriented converter, not
// a full CommonMark implementation. Pure functions, no failures.
#pragma once

#include <QString>
#include <optional>

namespace tramix::Markdown {

// The whole document; `title` goes into its title element.
QString toHTML(const QString& markdown, const QString& title);

// Inline markup of one paragraph, heading, quote or list item ("inline" is taken by C++).
QString inlineHTML(const QString& text);

// The level 1 to 6 of a trimmed heading line ("## Title"); none for "#Title" or "#######".
std::optional<int> headingLevel(const QString& trimmed);

struct ListItem {
    QString tag; // "ul" or "ol"
    QString text;

    bool operator==(const ListItem&) const = default;
};

// A trimmed "- ", "* ", "+ " or "{digits}. " line; ordered lists always count from 1.
std::optional<ListItem> listItem(const QString& trimmed);

} // namespace tramix::Markdown
