#include "HTMLEntity.h"

#include <QString>
#include <array>
#include <utility>

namespace tramix::HTMLEntity {

namespace {

constexpr char32_t replacementCharacter = 0xFFFD;
constexpr char32_t lastCodePoint = 0x10FFFF;

QByteArray utf8(char32_t codePoint) {
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint == 0 || surrogate || codePoint > lastCodePoint)
        codePoint = replacementCharacter;
    return QString::fromUcs4(&codePoint, 1).toUtf8();
}

std::optional<QByteArray> numeric(QByteArrayView digits) {
    const bool hex = digits.startsWith('x') || digits.startsWith('X');
    if (hex)
        digits = digits.sliced(1);
    bool ok = false;
    // Up to eight digits by the reference's own syntax, so the value always fits.
    const qulonglong value = digits.toULongLong(&ok, hex ? 16 : 10);
    if (!ok || digits.isEmpty())
        return std::nullopt;
    return utf8(value > lastCodePoint ? replacementCharacter : char32_t(value));
}

constexpr std::array<std::pair<std::string_view, char32_t>, 31> named = {{
    {"amp", u'&'},     {"lt", u'<'},      {"gt", u'>'},      {"quot", u'"'},     {"apos", u'\''},
    {"nbsp", 0xA0},    {"shy", 0xAD},     {"copy", 0xA9},    {"reg", 0xAE},      {"trade", 0x2122},
    {"deg", 0xB0},     {"sect", 0xA7},    {"euro", 0x20AC},  {"hellip", 0x2026}, {"ndash", 0x2013},
    {"mdash", 0x2014}, {"laquo", 0xAB},   {"raquo", 0xBB},   {"bdquo", 0x201E},  {"ldquo", 0x201C},
    {"rdquo", 0x201D}, {"lsquo", 0x2018}, {"rsquo", 0x2019}, {"auml", 0xE4},     {"ouml", 0xF6},
    {"uuml", 0xFC},    {"Auml", 0xC4},    {"Ouml", 0xD6},    {"Uuml", 0xDC},     {"szlig", 0xDF},
    {"times", 0xD7},
}};

} // namespace

std::optional<QByteArray> decoded(QByteArrayView reference) {
    if (!reference.startsWith('&') || !reference.endsWith(';') || reference.size() < 3)
        return std::nullopt;
    const QByteArrayView inner = reference.sliced(1, reference.size() - 2);
    if (inner.startsWith('#'))
        return numeric(inner.sliced(1));
    for (const auto& [name, codePoint] : named) {
        if (inner == QByteArrayView(name.data(), qsizetype(name.size())))
            return utf8(codePoint);
    }
    return std::nullopt;
}

} // namespace tramix::HTMLEntity
