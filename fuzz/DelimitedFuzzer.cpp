// Delimited text as a user's file brings it: the scan picks the encoding and the delimiter, the
// parser splits the rows. The rows must not depend on where the pieces of the file end, every
// cell must be UTF-8, and written out again by our writer the rows must read back the same.
#include "FuzzCheck.h"
#include "Tables/DelimitedParser.h"
#include "Tables/DelimitedWriter.h"
#include "Tables/TextScan.h"

#include <QBuffer>
#include <cstdint>
#include <vector>

using namespace tramix;

namespace {

using Rows = std::vector<QStringList>;

// Qt replaces every invalid sequence, so valid text alone survives the round trip, but for a
// leading byte-order mark, which Qt drops.
bool isUtf8(QByteArrayView bytes) {
    const QByteArray again = QString::fromUtf8(bytes).toUtf8();
    const QByteArray mark = "\xEF\xBB\xBF";
    return again == bytes || (bytes.startsWith(mark) && mark + again == bytes);
}

// The rows of `bytes`, fed in pieces of `piece` bytes; every cell checked to be UTF-8.
Rows parsed(QByteArrayView bytes, char delimiter, bool latin1, qsizetype piece) {
    Rows rows;
    DelimitedParser parser(delimiter, latin1, [&](const TableRow& row) {
        for (qsizetype i = 0; i < row.size(); ++i)
            FUZZ_CHECK(isUtf8(row.cell(i)), QString::fromLatin1(row.cell(i).toByteArray()));
        rows.push_back(row.toStrings());
    });
    for (qsizetype from = 0; from < bytes.size(); from += piece)
        parser.feed(bytes.sliced(from, std::min(piece, bytes.size() - from)));
    parser.finish();
    FUZZ_CHECK(parser.rows() == qint64(rows.size()), QString::number(parser.rows()));
    return rows;
}

// A row of one empty cell is written as an empty line, which reads as no row.
Rows withoutBlankRows(Rows rows) {
    std::erase_if(rows, [](const QStringList& row) { return row == QStringList{QString()}; });
    return rows;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    const qsizetype piece = data[0] % 16 + 1;
    const QString extension = data[0] & 0x80 ? QStringLiteral("tsv") : QStringLiteral("csv");
    const QByteArrayView bytes(data + 1, qsizetype(size - 1));

    TextScan scan;
    for (qsizetype from = 0; from < bytes.size(); from += piece)
        scan.feed(bytes.sliced(from, std::min(piece, bytes.size() - from)));
    FUZZ_CHECK(scan.isUtf8() == isUtf8(bytes), QString::fromLatin1(bytes.toByteArray()));
    const char delimiter = scan.delimiter(extension);
    FUZZ_CHECK(delimiter == ',' || delimiter == ';' || delimiter == '\t', extension);
    const bool latin1 = !scan.isUtf8();

    const Rows whole = parsed(bytes, delimiter, latin1, qMax<qsizetype>(bytes.size(), 1));
    const Rows pieces = parsed(bytes, delimiter, latin1, piece);
    FUZZ_CHECK(whole == pieces, QString::number(piece));

    // A leading byte-order mark of a cell is dropped on reading, so it cannot round-trip.
    if (!whole.empty() && !whole.front().isEmpty() &&
        whole.front().front().startsWith(QChar(0xFEFF)))
        return 0;
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    DelimitedWriter writer(out, QStringLiteral("fuzz.csv"), delimiter);
    for (const QStringList& row : whole)
        writer.row(TableRow::from(row));
    writer.finish();
    const Rows again = parsed(out.data(), delimiter, false, piece);
    FUZZ_CHECK(withoutBlankRows(whole) == again,
               QString::fromLatin1(out.data().toHex(' ')) + u'\n' +
                   QString::fromLatin1(bytes.toByteArray().toHex(' ')));
    return 0;
}
