// Staging files, staging folders and scratch folders must not outlive a crash or a kill. While
// they exist they are listed in a register of this process under the cache folder; the next
// start of a command that writes removes what dead processes listed.
#pragma once

#include <QString>

namespace tramix::Leftovers {

// `$XDG_CACHE_HOME/Tramix` (or `~/.cache/Tramix`).
QString cacheFolder();

// Lists `path` until the entry goes. The path must be a staging name made by this process
// (hidden, ending in ".part") or lie in a scratch folder; only such paths are ever swept.
class Entry {
public:
    explicit Entry(const QString& path);
    ~Entry();
    Entry(Entry&& other) noexcept;
    Entry& operator=(Entry&&) = delete;
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

private:
    bool live_ = false;
};

// A new folder for scratch work under `cacheFolder()/scratch`, named after this process so that
// a sweep knows when its owner is gone. Throws ConversionError when it cannot be made.
QString makeScratchFolder(const QString& prefix);

// Removes the listed paths and scratch folders of processes that are no longer running. Never
// throws; cheap when there is nothing to do.
void sweep();

} // namespace tramix::Leftovers
