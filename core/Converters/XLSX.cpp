#include "XLSX.h"

#include "../ConversionError.h"
#include "ArchiveConverter.h"
#include "ScratchFolder.h"
#include "SharedStrings.h"
#include "SheetReader.h"
#include "TableRow.h"
#include "XLSXWriter.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <charconv>
#include <cmath>
#include <limits>

namespace tramix::XLSX {

namespace {

ConversionError damaged() {
    return ConversionError::failed(QStringLiteral("Die Excel-Datei ist beschädigt."));
}

// Unpacked parts are read only when they are plain files: a link could point anywhere.
bool isPlainFile(const QString& path) {
    const QFileInfo info(path);
    return info.isFile() && !info.isSymLink();
}

QString firstWorksheet(const ScratchFolder& folder) {
    const QString base = folder.filePath(QStringLiteral("xl/worksheets"));
    QStringList candidates;
    QDirIterator it(base, QDir::Files | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString relative = QDir(base).relativeFilePath(path);
        if (relative.startsWith(u"sheet") && isPlainFile(path))
            candidates.append(relative);
    }
    if (candidates.isEmpty())
        return {};
    candidates.sort();
    return base + u'/' + candidates.first();
}

} // namespace

TableGrid read(const QString& workbook) {
    const ScratchFolder folder(QStringLiteral("tramix-xlsx-"));
    try {
        // Pictures and embedded files are no part of the grid.
        ArchiveConverter::run(QStringLiteral("/usr/bin/unzip"),
                              {QStringLiteral("-qq"), QStringLiteral("-o"), workbook,
                               QStringLiteral("xl/*"), QStringLiteral("-x"),
                               QStringLiteral("xl/media/*"), QStringLiteral("xl/embeddings/*"),
                               QStringLiteral("-d"), folder.path()});
    } catch (const ConversionError&) {
        throw damaged();
    }

    SharedStrings shared;
    const QString sharedPath = folder.filePath(QStringLiteral("xl/sharedStrings.xml"));
    if (isPlainFile(sharedPath)) {
        QFile file(sharedPath);
        if (!file.open(QIODevice::ReadOnly) || !shared.parse(file))
            throw damaged();
    }
    const QString sheetPath = firstWorksheet(folder);
    if (sheetPath.isEmpty())
        return {};
    QFile file(sheetPath);
    SheetReader sheet(shared.strings);
    if (!file.open(QIODevice::ReadOnly) || !sheet.parse(file))
        throw damaged();
    return sheet.grid();
}

void write(const TableGrid& grid, const QString& destination) {
    XLSXWriter writer(destination);
    TableRow row;
    for (const QStringList& cells : grid) {
        row.clear();
        for (const QString& cell : cells)
            row.append(cell.toUtf8());
        writer.row(row);
    }
    writer.finish();
}

int columnIndex(QStringView reference) {
    qint64 value = 0;
    for (const QChar c : reference) {
        if (c < u'A' || c > u'Z')
            break;
        value = value * 26 + (c.unicode() - u'A' + 1);
        if (value > 1'000'000'000)
            break; // far past any real sheet; keeps the sum from overflowing
    }
    return static_cast<int>(std::clamp<qint64>(value - 1, 0, std::numeric_limits<int>::max()));
}

QString columnName(int index) {
    QString letters;
    while (index >= 0) {
        letters.prepend(QChar(u'A' + index % 26));
        index = index / 26 - 1;
    }
    return letters;
}

QString escape(const QString& text) {
    QString kept;
    kept.reserve(text.size());
    for (const QChar c : text) {
        if (c.unicode() >= 0x20 || c == u'\t' || c == u'\n' || c == u'\r')
            kept.append(c);
    }
    kept.replace(u'&', QStringLiteral("&amp;"));
    kept.replace(u'<', QStringLiteral("&lt;"));
    kept.replace(u'>', QStringLiteral("&gt;"));
    kept.replace(u'"', QStringLiteral("&quot;"));
    return kept;
}

bool needsEscape(QByteArrayView utf8) {
    for (const char byte : utf8) {
        const auto value = static_cast<unsigned char>(byte);
        if (value == '&' || value == '<' || value == '>' || value == '"' ||
            (value < 0x20 && value != '\t' && value != '\n' && value != '\r'))
            return true;
    }
    return false;
}

QString format(double number) {
    if (std::isfinite(number) && number == std::trunc(number) && std::fabs(number) < 1e15)
        return QString::number(static_cast<qint64>(number));
    char text[64];
    const auto result =
        std::to_chars(text, text + sizeof text, number, std::chars_format::general, 15);
    return QString::fromLatin1(text, result.ptr - text);
}

bool isNumber(QByteArrayView text) {
    qsizetype i = 0;
    const qsizetype size = text.size();
    if (i < size && text[i] == '-')
        ++i;
    const auto digit = [&](qsizetype at) {
        return at < size && text[at] >= '0' && text[at] <= '9';
    };
    if (!digit(i))
        return false;
    if (text[i++] != '0') {
        while (digit(i))
            ++i;
    }
    if (i < size && text[i] == '.') {
        ++i;
        if (!digit(i))
            return false;
        while (digit(i))
            ++i;
    }
    return i == size;
}

} // namespace tramix::XLSX
