#pragma once

namespace tramix {

// perFile operations run once per input in parallel; combined and instant ones get all inputs
// in one call (instant only matters to the interface, which reports nothing for it).
enum class OperationStyle { perFile, combined, instant };

} // namespace tramix
