// Link and image addresses as they may appear in a document that someone else wrote: only web,
// mail, relative and fragment addresses stay live, and every address is percent-encoded so that
// it cannot leave its attribute.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <optional>

namespace tramix::LinkAddress {

// The address ready for an attribute value (still to be entity-escaped), or none when its scheme
// is not http, https or mailto, such as "javascript:" written with any case, control characters
// or spaces in front.
std::optional<QByteArray> live(QByteArrayView address);

} // namespace tramix::LinkAddress
