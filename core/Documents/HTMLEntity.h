// Character references as Markdown hands them over ("&#228;", "&#xE4;", "&auml;").
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <optional>

namespace tramix::HTMLEntity {

// The UTF-8 text of a numeric reference (U+FFFD for zero, surrogates and values beyond Unicode),
// or of one of the named references common in German and English texts; none for other names,
// which HTML readers resolve themselves when the reference is written as it stands.
std::optional<QByteArray> decoded(QByteArrayView reference);

} // namespace tramix::HTMLEntity
