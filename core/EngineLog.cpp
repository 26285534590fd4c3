#include "EngineLog.h"

Q_LOGGING_CATEGORY(engineLog, "tramix.engine")
