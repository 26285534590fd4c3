// Pictures that a web page names beside it, taken into the page as "data:" addresses: the page
// can then be read from anywhere, and LibreOffice embeds them in what it writes instead of
// linking to files on this disk.
#pragma once

#include <QByteArray>
#include <QString>

namespace tramix::HTMLImages {

// `html` in whatever encoding it declares; relative and "file:" picture addresses are resolved
// against `folder`. Pictures that cannot be read stay as they were.
QByteArray embed(const QByteArray& html, const QString& folder);

} // namespace tramix::HTMLImages
