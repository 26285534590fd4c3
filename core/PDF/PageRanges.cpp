#include "PageRanges.h"

#include "ConversionError.h"

#include <QStringList>
#include <optional>

namespace tramix::PageRanges {

namespace {

// An optional "+" and decimal digits that fit 64 bits; nothing else.
std::optional<qint64> number(const QString& text) {
    const QString digits = text.startsWith(u'+') ? text.mid(1) : text;
    if (digits.isEmpty())
        return std::nullopt;
    for (QChar c : digits) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
    }
    bool ok = false;
    const qint64 value = digits.toLongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

[[noreturn]] void malformed(const QString& piece) {
    throw ConversionError::failed(
        QStringLiteral("„%1“ ist kein gültiger Seitenbereich.").arg(piece));
}

qint64 bound(const QString& text, qint64 whenEmpty, const QString& piece) {
    if (text.isEmpty())
        return whenEmpty;
    const std::optional<qint64> value = number(text);
    if (!value)
        malformed(piece);
    return *value;
}

Group group(const QString& piece, qint64 pageCount) {
    QStringList parts = piece.split(u'-');
    for (QString& part : parts)
        part = trimmedBlanks(part);
    qint64 low = 0, high = 0;
    if (parts.size() == 1) {
        const std::optional<qint64> page = number(parts[0]);
        if (!page)
            malformed(piece);
        low = high = *page;
    } else if (parts.size() == 2) {
        low = bound(parts[0], 1, piece);
        high = bound(parts[1], pageCount, piece);
    } else {
        malformed(piece);
    }
    if (low < 1 || high > pageCount) {
        const qint64 missing = std::max(low, high) > pageCount ? std::max(low, high) : low;
        throw ConversionError::failed(
            QStringLiteral("Seite %1 gibt es nicht – das PDF hat %2 Seiten.")
                .arg(missing)
                .arg(pageCount));
    }
    if (high < low)
        throw ConversionError::failed(
            QStringLiteral("„%1“: Der Bereich ist rückwärts.").arg(piece));
    Group pages;
    pages.reserve(high - low + 1);
    for (qint64 page = low; page <= high; ++page)
        pages.append(page);
    return pages;
}

} // namespace

// Line breaks are not blanks here: a piece spanning lines is malformed, not two pieces.
QString trimmedBlanks(const QString& text) {
    qsizetype begin = 0, end = text.size();
    auto blank = [](QChar c) { return c == u' ' || c == u'\t'; };
    while (begin < end && blank(text[begin]))
        ++begin;
    while (end > begin && blank(text[end - 1]))
        --end;
    return text.mid(begin, end - begin);
}

QList<Group> parse(const QString& text, qint64 pageCount) {
    QString normalised = text;
    normalised.replace(u'–', u'-').replace(u';', u',');
    QStringList pieces;
    for (const QString& raw : normalised.split(u',', Qt::SkipEmptyParts)) {
        const QString piece = trimmedBlanks(raw);
        if (!piece.isEmpty())
            pieces.append(piece);
    }
    if (pieces.isEmpty())
        throw ConversionError::failed(QStringLiteral("Bitte Seiten angeben, z. B. 1-2, 3-5."));
    QList<Group> groups;
    for (const QString& piece : pieces)
        groups.append(group(piece, pageCount));
    return groups;
}

QString label(const Group& group, const QString& prefix) {
    if (group.isEmpty())
        return {};
    if (group.size() == 1)
        return prefix + QString::number(group.first());
    bool run = true;
    for (qsizetype i = 1; i < group.size() && run; ++i)
        run = group[i] == group[i - 1] + 1;
    if (run)
        return prefix + QStringLiteral("%1–%2").arg(group.first()).arg(group.last());
    QStringList pages;
    for (qint64 page : group)
        pages.append(QString::number(page));
    return prefix + pages.join(QStringLiteral(", "));
}

QString zeroPadded(qsizetype number, qsizetype count) {
    return QStringLiteral("%1").arg(number, int(QString::number(count).size()), 10, QChar(u'0'));
}

} // namespace tramix::PageRanges
