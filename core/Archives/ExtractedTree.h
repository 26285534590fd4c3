// What the tools put into a staging folder, checked without ever following a link: only plain
// files, folders and links may be there, and no file may have a name outside. Files get the
// permission bits the archive gave them, without set-user-ID, set-group-ID and sticky bits; the
// owner may always read them, and use the folders.
#pragma once

#include <QString>

namespace tramix::ArchiveConverter {

struct ArchiveListing;

// Checks the folder open as `top`, extracted from `archive` as `listing` describes it, and
// returns the bytes of its files, each counted once. Throws ConversionError.
qint64 checkExtractedTree(int top, const QString& archive, const ArchiveListing& listing);

} // namespace tramix::ArchiveConverter
