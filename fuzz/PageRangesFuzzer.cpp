// Page-range text as typed into the PDF editor: parsed against a page count taken from the first
// two bytes, every page it yields must exist and every group must be one ascending run.
#include "ConversionError.h"
#include "FuzzCheck.h"
#include "PDF/PageRanges.h"

#include <cstdint>

using namespace tramix;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2)
        return 0;
    // Up to 65,536 pages: real documents, and runs the parser may spell out page by page.
    const qint64 pageCount = (qint64(data[0]) << 8 | data[1]) + 1;
    const QString text = fuzz::text(data + 2, size - 2);
    QList<PageRanges::Group> groups;
    try {
        groups = PageRanges::parse(text, pageCount);
    } catch (const ConversionError& error) {
        FUZZ_CHECK(!error.errorDescription().isEmpty(), text);
        return 0;
    }
    FUZZ_CHECK(groups.size() <= text.count(u',') + text.count(u';') + 1, text);
    for (const PageRanges::Group& group : groups) {
        FUZZ_CHECK(!group.isEmpty(), text);
        for (qsizetype i = 0; i < group.size(); ++i) {
            FUZZ_CHECK(group[i] >= 1 && group[i] <= pageCount, text);
            FUZZ_CHECK(i == 0 || group[i] == group[i - 1] + 1, text);
        }
        // The label of a group reads back as the same group.
        const QString label = PageRanges::label(group);
        FUZZ_CHECK(label.startsWith(PageRanges::germanPrefix), label);
        const QList<PageRanges::Group> again =
            PageRanges::parse(label.mid(PageRanges::germanPrefix.size()), pageCount);
        FUZZ_CHECK(again.size() == 1 && again.first() == group,
                   text + QStringLiteral(" → ") + label);
    }
    return 0;
}
