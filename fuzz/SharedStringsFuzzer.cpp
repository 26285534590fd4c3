// The shared-string part of a workbook as XML: read whole and read a few bytes at a time, as a
// part comes out of its package, it must give the same texts.
#include "FuzzCheck.h"
#include "PieceDevice.h"
#include "Tables/SharedStrings.h"

#include <QBuffer>

using namespace tramix;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray xml(reinterpret_cast<const char*>(data), qsizetype(size));
    QBuffer whole;
    whole.setData(xml);
    whole.open(QIODevice::ReadOnly);
    SharedStrings all;
    const bool ok = all.parse(whole);

    fuzz::PieceDevice pieces(xml, qint64(size % 7 + 1));
    SharedStrings piecewise;
    FUZZ_CHECK(piecewise.parse(pieces) == ok, QString::fromUtf8(xml));
    if (ok) {
        FUZZ_CHECK(piecewise.strings == all.strings, QString::fromUtf8(xml));
        FUZZ_CHECK(all.strings.size() <= xml.count("<si") + xml.count(":si"),
                   QString::fromUtf8(xml));
    }
    return 0;
}
