// Applies one operation to a list of inputs, in parallel for per-file operations.
#pragma once

#include "FileOperation.h"
#include "JobResult.h"
#include "OutputContext.h"

namespace tramix::JobRunner {

// How many per-file calls run at once on a machine with `cores` cores: between 2 and 8.
int width(int cores);
int width();

// Blocks until every call has ended; never throws. Each failure becomes one entry per input
// concerned, and the others go on.
JobResult run(const FileOperation& operation, const QStringList& inputs,
              const OutputContext& context);

} // namespace tramix::JobRunner
