// Arbitrary file names: the extension is the last component's own, classification never depends
// on the folder a name sits in, and a name that exists nowhere is never taken for a folder.
#include "FileKind.h"
#include "FuzzCheck.h"

using namespace tramix;

namespace {

const QString nowhere = QStringLiteral("/nonexistent-tramix-fuzz/");

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString name = fuzz::text(data, size);
    const QString extension = pathExtension(name);
    FUZZ_CHECK(!extension.contains(u'/'), name);
    FUZZ_CHECK(!extension.contains(u'.'), name);
    if (!extension.isEmpty()) {
        QStringView trimmed(name);
        while (trimmed.endsWith(u'/') && trimmed.size() > 1)
            trimmed.chop(1);
        FUZZ_CHECK(trimmed.endsWith(u'.' + extension), name);
    }

    const QString canonical = FileKind::canonicalExtension(extension);
    FUZZ_CHECK(FileKind::canonicalExtension(canonical) == canonical, name);

    if (name.contains(u'/') || name.isEmpty() || name == u"." || name == u"..")
        return 0;
    const FileKind kind = FileKind::of(nowhere + name);
    FUZZ_CHECK(kind != FileKind::folder, name);
    FUZZ_CHECK(FileKind::of(nowhere + QStringLiteral("deeper/") + name) == kind, name);
    FUZZ_CHECK(FileKind::fromRawValue(kind.rawValue()) == kind, name);
    if (const std::optional<FileKind> known = FileKind::byExtension(extension.toLower()))
        FUZZ_CHECK(*known == kind, name);
    return 0;
}
