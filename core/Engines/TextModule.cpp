// The entry of libtramix-text.so.
#include "Engines/TextEngine.h"
#include "Text/VisionTools.h"

extern "C" [[gnu::visibility("default")]] const void* tramixTextEngine() {
    using namespace tramix;
    static const TextEngine engine{&VisionTools::recognizeText};
    return &engine;
}
