// What an office program would find on opening a document, found before LibreOffice is started:
// a file that is not what its extension says, one locked with a password, one that is damaged.
#pragma once

#include <QString>

namespace tramix::DocumentCheck {

// Throws ConversionError with a sentence naming the file when `input` cannot be converted as
// the document its extension says it is.
void verify(const QString& input);

} // namespace tramix::DocumentCheck
