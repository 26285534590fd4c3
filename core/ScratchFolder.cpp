#include "ScratchFolder.h"

#include "FolderTree.h"
#include "Leftovers.h"

namespace tramix {

ScratchFolder::ScratchFolder(const QString& prefix)
    : path_(Leftovers::makeScratchFolder(prefix)) {}

ScratchFolder::~ScratchFolder() {
    FolderTree::remove(path_);
}

} // namespace tramix
