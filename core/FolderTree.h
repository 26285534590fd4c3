// Whole folders as results: made, checked, moved into place without replacing anything, and
// removed again, also where an archive left folders without write permission.
#pragma once

#include <QString>
#include <optional>

namespace tramix::FolderTree {

// Creates the folder and any missing parents; throws ConversionError when it cannot.
void create(const QString& path);

// Removes the folder with everything in it; a missing folder is no error, and nothing throws.
void remove(const QString& path);

// The first symbolic link under `root` (as a path relative to it) that resolves to a place
// outside `root`, or that cannot be resolved at all.
std::optional<QString> linkLeaving(const QString& root);

// Creates the folder, and any missing parents, unless something exists under its name already:
// then false. Throws ConversionError when it cannot.
bool createNew(const QString& path);

// Renames `from` to `to` unless something exists under that name already: then false, for
// nothing is ever replaced. Throws ConversionError when it cannot.
bool moveIntoPlace(const QString& from, const QString& to);

} // namespace tramix::FolderTree
