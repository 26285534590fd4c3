// The entry of libtramix-cutout.so.
#include "Engines/CutOutEngine.h"
#include "Text/VisionTools.h"

extern "C" [[gnu::visibility("default")]] const void* tramixCutOutEngine() {
    using namespace tramix;
    static const CutOutEngine engine{&VisionTools::removeBackground};
    return &engine;
}
