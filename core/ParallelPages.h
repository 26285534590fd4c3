// Pages of one document worked on side by side, each thread with its own document and tools
// (poppler documents and Tesseract engines are not shared between threads).
#pragma once

#include <functional>

namespace tramix::ParallelPages {

// The work of one thread: called with page indexes, one at a time.
using PageWork = std::function<void(int index)>;

// Calls the work for every index from 0 to count - 1 on the calling thread and up to
// `threads` - 1 helpers, as many as the process has to spare; each thread gets its own work from
// `prepare` first. After the first failure no further page starts, and
// once all threads have ended that failure is thrown.
void run(int count, int threads, const std::function<PageWork()>& prepare);

// As run, when at least one helper is free now; otherwise runs nothing and returns false, so
// that the caller can take a cheaper way that needs no parting of the work.
bool runIfHelped(int count, int threads, const std::function<PageWork()>& prepare);

} // namespace tramix::ParallelPages
