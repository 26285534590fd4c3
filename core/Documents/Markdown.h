// Markdown into one complete, self-styled HTML document. Pure, no failures (but memory).
#pragma once

#include <QString>

namespace tramix::Markdown {

// The whole document; `title` goes into its title element. The body is the text read as
// CommonMark with GitHub's tables, strikethrough, task lists and autolinks (see MarkdownBody).
QString toHTML(const QString& markdown, const QString& title);

} // namespace tramix::Markdown
