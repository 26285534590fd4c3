// Quoting for the shell scripts the completions are written as.
#pragma once

#include <QString>

namespace tramix {

// One word in single quotes, so that the shell takes every character of it literally.
inline QString shellQuoted(QString text) {
    return u'\'' + text.replace(QStringLiteral("'"), QStringLiteral("'\\''")) + u'\'';
}

} // namespace tramix
