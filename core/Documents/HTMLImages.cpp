#include "HTMLImages.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>
#include <QUrl>

namespace tramix::HTMLImages {

namespace {

// A picture larger than this is left linked rather than tripling the page's size.
constexpr qint64 largestPicture = 32 * 1024 * 1024;

// The file a picture address names, or empty for addresses on the web or inside the page.
QString localFile(const QString& address, const QString& folder) {
    QString decoded = address;
    decoded.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
    const QUrl url(decoded);
    if (url.scheme() == u"file")
        return url.toLocalFile();
    if (!url.scheme().isEmpty() || decoded.startsWith(u"//") || decoded.startsWith(u'#'))
        return {};
    const QString path = QUrl::fromPercentEncoding(decoded.section(u'?', 0, 0).toUtf8());
    return QDir(folder).absoluteFilePath(path);
}

QByteArray dataAddress(const QString& file) {
    const QFileInfo info(file);
    if (!info.isFile() || info.size() > largestPicture)
        return {};
    QFile picture(file);
    if (!picture.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = picture.readAll();
    const QString type = QMimeDatabase().mimeTypeForFileNameAndData(file, bytes).name();
    if (!type.startsWith(u"image/"))
        return {};
    return "data:" + type.toLatin1() + ";base64," + bytes.toBase64();
}

} // namespace

QByteArray embed(const QByteArray& html, const QString& folder) {
    static const QRegularExpression picture(
        QStringLiteral(R"((<img\b[^>]*?\bsrc\s*=\s*)(["'])([^"'<>]*)\2)"),
        QRegularExpression::CaseInsensitiveOption);
    // Read byte for byte, so that the page's own encoding passes through untouched.
    const QString page = QString::fromLatin1(html);
    QByteArray result;
    qsizetype copied = 0;
    for (const QRegularExpressionMatch& match : picture.globalMatch(page)) {
        const QString address = QString::fromUtf8(match.captured(3).toLatin1());
        const QByteArray data = dataAddress(localFile(address, folder));
        if (data.isEmpty())
            continue;
        result += html.mid(copied, match.capturedStart(3) - copied) + data;
        copied = match.capturedEnd(3);
    }
    return result + html.mid(copied);
}

} // namespace tramix::HTMLImages
