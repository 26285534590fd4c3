// The entry of libtramix-pdf.so.
#include "Engines/PDFEngine.h"
#include "PDF/PDFConverter.h"

extern "C" [[gnu::visibility("default")]] const void* tramixPDFEngine() {
    using namespace tramix;
    static const PDFEngine engine{
        &PDFConverter::toImages,
        &PDFConverter::toText,
        &PDFConverter::compress,
        &PDFRichText::read,
    };
    return &engine;
}
