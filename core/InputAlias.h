// A file whose name is not UTF-8 ("Köln.jpg" written in Latin-1 by an old program or a copied
// disk) cannot be named in a QString. Such an input is reached through a link with a readable
// name in a scratch folder, and its results still go to the input's own folder.
#pragma once

#include <QByteArray>
#include <QString>

namespace tramix::InputAlias {

// The path to use for the file named by the bytes `raw`: `raw` itself when it is UTF-8; else a
// link whose name reads the bytes as Latin-1. Unmade links fall back to the lossy reading.
QString forBytes(const QByteArray& raw);

// As `forBytes`, for a "file:" URI from a drop (percent-encoded bytes); empty when the URI does
// not name a local file.
QString forFileUri(const QByteArray& uri);

// The folder that results of `path` belong in: the input's own folder also for a link made
// here.
QString homeFolder(const QString& path);

} // namespace tramix::InputAlias
