// Applies one operation to a list of inputs, in parallel for per-file operations.
#pragma once

#include "FileOperation.h"
#include "JobResult.h"
#include "OutputContext.h"

#include <functional>

namespace tramix::JobRunner {

// How many per-file calls run at once on a machine with `cores` cores: between 2 and 8.
int width(int cores);
int width();

// Told after each input of a per-file job has ended, with how many have ended of how many the job
// has. Called on a worker thread, one call at a time, with `done` rising by one each time.
using Progress = std::function<void(qsizetype done, qsizetype total)>;

// Told how much of the whole job is done, 0 to 1, counting the part of each running input that
// its converter reports; called on worker threads, one call at a time.
using Fraction = std::function<void(double fraction)>;

// Blocks until every call has ended; never throws. Each failure becomes one entry per input
// concerned, and the others go on. Per-file work with a batch call runs as that one call and
// reports each input as it ends. A combined job is one call and reports no progress. Once the
// context's control is cancelled, no further input is started and the result says so.
JobResult run(const FileOperation& operation, const QStringList& inputs,
              const OutputContext& context, const Progress& progress = {},
              const Fraction& fraction = {});

} // namespace tramix::JobRunner
