// The entry of libtramix-image.so.
#include "Engines/ImageEngine.h"
#include "Image/ImageConverter.h"

extern "C" [[gnu::visibility("default")]] const void* tramixImageEngine() {
    using namespace tramix;
    static const ImageEngine engine{
        &ImageConverter::convert,       &ImageConverter::compress,    &ImageConverter::resizeForWeb,
        &ImageConverter::stripMetadata, &ImageConverter::imagesToPDF, &ImageFormat::writable,
    };
    return &engine;
}
