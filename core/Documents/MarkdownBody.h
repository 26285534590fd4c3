// The body of a Markdown document as HTML, read by a CommonMark parser with GitHub's tables,
// strikethrough, task lists and autolinks. Raw HTML in the source is shown as text and only web,
// mail, relative and fragment links stay live, so a downloaded README cannot run script.
#pragma once

#include <QString>

namespace tramix::MarkdownBody {

// The blocks, each ending in a line feed; empty for an empty text. Never fails.
QString toHTML(const QString& markdown);

} // namespace tramix::MarkdownBody
