// A worksheet's XML with a workbook's shared strings and date styles: every cell handed over
// must lie inside a sheet's limits, and reading a sound part a few bytes at a time, as it comes
// out of its package, must hand over the same cells.
#include "FuzzCheck.h"
#include "PieceDevice.h"
#include "Tables/CellStyles.h"
#include "Tables/SheetReader.h"
#include "Tables/TableLimits.h"

#include <QBuffer>
#include <tuple>
#include <vector>

using namespace tramix;

namespace {

// Built-in date, time and date-time formats, a percentage and one format of the workbook's own.
constexpr char styleXML[] =
    R"(<styleSheet><numFmts><numFmt numFmtId="164" formatCode="dd/mm/yyyy\ hh:mm"/></numFmts>)"
    R"(<cellXfs><xf numFmtId="0"/><xf numFmtId="14"/><xf numFmtId="21"/><xf numFmtId="22"/>)"
    R"(<xf numFmtId="10"/><xf numFmtId="164"/></cellXfs></styleSheet>)";

const CellStyles& styles() {
    static const CellStyles instance = [] {
        CellStyles parsed;
        QBuffer buffer;
        buffer.setData(QByteArray(styleXML));
        buffer.open(QIODevice::ReadOnly);
        if (!parsed.parse(buffer))
            std::abort();
        return parsed;
    }();
    return instance;
}

using Cells = std::vector<std::tuple<int, int, QString>>;

bool read(QIODevice& device, bool date1904, Cells& cells, QString& outside) {
    static const QStringList shared = {QStringLiteral("eins"), QString(),
                                       QStringLiteral("drei & <vier>")};
    SheetReader reader(shared, styles(), date1904, [&](int row, int column, const QString& text) {
        cells.emplace_back(row, column, text);
    });
    const bool ok = reader.parse(device);
    outside = reader.outside;
    return ok;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray xml(reinterpret_cast<const char*>(data), qsizetype(size));
    const bool date1904 = size % 2 == 1;
    QBuffer whole;
    whole.setData(xml);
    whole.open(QIODevice::ReadOnly);
    Cells cells;
    QString outside;
    const bool ok = read(whole, date1904, cells, outside);
    const QString context = QString::fromUtf8(xml);
    FUZZ_CHECK(!ok || outside.isEmpty(), context);
    for (const auto& [row, column, text] : cells) {
        FUZZ_CHECK(row >= 0 && row < TableLimits::maxRows, QString::number(row) + u'\n' + context);
        FUZZ_CHECK(column >= 0 && column < TableLimits::maxColumns,
                   QString::number(column) + u'\n' + context);
    }

    fuzz::PieceDevice pieces(xml, qint64(size % 7 + 1));
    Cells again;
    QString outsideAgain;
    FUZZ_CHECK(read(pieces, date1904, again, outsideAgain) == ok, context);
    // A broken part is refused whole; the cells before its flaw depend on how much the XML
    // reader decodes ahead, so only a sound part must give the same cells.
    if (ok)
        FUZZ_CHECK(again == cells, context);
    return 0;
}
