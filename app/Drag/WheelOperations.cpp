#include "WheelOperations.h"

#include "Actions/FileActions.h"
#include "Catalogue/OperationRegistry.h"

namespace tramix {

QList<FileOperation> wheelOperations(WheelMode mode, const QStringList& paths) {
    switch (mode) {
    case WheelMode::convert:
        return OperationRegistry::convertOperations(paths);
    case WheelMode::tools:
        return OperationRegistry::toolOperations(paths);
    case WheelMode::actions:
        return FileActions::operations();
    }
    return {};
}

} // namespace tramix
