// A PDF read back as a flowing document: paragraphs joined across line breaks, headings by their
// size, bold and italic from the fonts, lists, page breaks and the pictures in their place.
#pragma once

#include "OutputContext.h"
#include "StyledText.h"

#include <QString>

namespace tramix::PDFRichText {

// Headings are set at least this much larger than the body text, or in bold at least a little
// larger.
constexpr double headingScale = 1.15;
constexpr double boldHeadingScale = 1.05;

// Pictures covering this share of a page that has text are its background or its scan under a
// text layer, not a picture in the text.
constexpr double backgroundShare = 0.8;

// The styled text of every page, with a page break between pages. A document without any text
// is a scan: its pages are read by text recognition into plain paragraphs in Helvetica at 12
// points, and when that finds nothing either it throws "Im PDF wurde kein Text gefunden.". A
// file that is not a PDF throws `unreadable`, a locked one "„{name}“ ist passwortgeschützt.".
// Reports the share of pages done to `context` and stops between pages when it is cancelled.
StyledText read(const QString& pdf, const OutputContext& context);

} // namespace tramix::PDFRichText
