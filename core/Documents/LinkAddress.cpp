#include "LinkAddress.h"

#include <QByteArrayList>

namespace tramix::LinkAddress {

namespace {

bool isASCIIAlphanumeric(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Browsers drop leading controls and spaces and every tab or line break inside an address before
// they read its scheme, so "java\tscript:" is still a script.
QByteArray asBrowsersRead(QByteArrayView address) {
    qsizetype start = 0;
    while (start < address.size() && static_cast<unsigned char>(address[start]) <= ' ')
        ++start;
    QByteArray read;
    for (const char c : address.sliced(start)) {
        if (c != '\t' && c != '\n' && c != '\r')
            read.append(c);
    }
    return read;
}

// The scheme in lower case, or empty for a relative or fragment address.
QByteArray scheme(const QByteArray& address) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    if (address.isEmpty() || !isLetter(address[0]))
        return {};
    qsizetype i = 1;
    while (i < address.size() && (isASCIIAlphanumeric(address[i]) || address[i] == '+' ||
                                  address[i] == '-' || address[i] == '.'))
        ++i;
    return i < address.size() && address[i] == ':' ? address.left(i).toLower() : QByteArray();
}

// Characters that keep their meaning in an address; everything else (quotes, angle brackets,
// spaces, bytes of other scripts) is percent-encoded.
bool keepsMeaning(char c) {
    static constexpr QByteArrayView reserved = ";/?:@&=+$,-_.!~*'()#";
    return isASCIIAlphanumeric(c) || reserved.contains(c);
}

QByteArray percentEncoded(QByteArrayView address) {
    static constexpr char hex[] = "0123456789ABCDEF";
    QByteArray encoded;
    for (qsizetype i = 0; i < address.size(); ++i) {
        const char c = address[i];
        const bool escapeAlready = c == '%' && i + 2 < address.size() &&
                                   isHexDigit(address[i + 1]) && isHexDigit(address[i + 2]);
        if (keepsMeaning(c) || escapeAlready) {
            encoded.append(c);
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded.append('%').append(hex[byte >> 4]).append(hex[byte & 0xF]);
        }
    }
    return encoded;
}

} // namespace

std::optional<QByteArray> live(QByteArrayView address) {
    static const QByteArrayList safeSchemes = {"http", "https", "mailto"};
    const QByteArray read = asBrowsersRead(address);
    const QByteArray found = scheme(read);
    if (!found.isEmpty() && !safeSchemes.contains(found))
        return std::nullopt;
    return percentEncoded(address);
}

} // namespace tramix::LinkAddress
