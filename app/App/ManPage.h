// The manual page tramix(1), written in roff from the command table and the catalogue.
#pragma once

#include <QString>

namespace tramix::ManPage {

// The whole page, ASCII only: other characters are written as roff's \[uXXXX] so that groff
// reads it without a preprocessor.
QString text();

// Text that roff prints as it is: hyphens stay hyphens, backslashes print, and a leading dot or
// quote starts no request.
QString escaped(const QString& text);

} // namespace tramix::ManPage
