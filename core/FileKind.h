// The coarse kind of an input file, which decides the operations offered for it.
#pragma once

#include <QHashFunctions>
#include <QString>
#include <array>
#include <optional>

namespace tramix {

class FileKind {
public:
    enum Value { image, pdf, audio, video, document, spreadsheet, archive, folder, other };

    constexpr FileKind(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    QString rawValue() const;
    static std::optional<FileKind> fromRawValue(QStringView raw);
    static const std::array<FileKind, 9>& allCases();

    // Classifies by extension and never reads the file; a path that does not exist is
    // classified by its extension alone.
    static FileKind of(const QString& path);

    // Lower-cased extension with the aliases folded, so that "jpeg" and "jpg" compare equal.
    static QString canonicalExtension(const QString& ext);

    // The table lookup alone (lower-case extension without dot), for callers that need no
    // file system access.
    static std::optional<FileKind> byExtension(const QString& lowerExt);

private:
    Value value_;
};

inline size_t qHash(FileKind kind, size_t seed = 0) noexcept {
    return ::qHash(static_cast<int>(FileKind::Value(kind)), seed);
}

// The extension of a path's last component: after its last dot, empty when the only dot
// starts the name (hidden files such as .profile have none).
QString pathExtension(const QString& path);

} // namespace tramix
