#include "JobControl.h"

#include "ConversionError.h"

namespace tramix {

void JobControl::throwIfCancelled() const {
    if (isCancelled())
        throw ConversionError::cancelled();
}

} // namespace tramix
