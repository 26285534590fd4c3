#include "DocumentConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "FileKind.h"
#include "Markdown.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

namespace tramix::DocumentConverter {

namespace {

bool isMarkdown(const QString& input) {
    const QString ext = pathExtension(input).toLower();
    return ext == u"md" || ext == u"markdown";
}

// UTF-8 as written by every editor today; text that is not valid UTF-8 is read as Latin-1
// rather than turned into replacement characters.
QString readText(const QString& input) {
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        throw ConversionError::unreadable(QFileInfo(input).fileName());
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw ConversionError::unreadable(QFileInfo(input).fileName());
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8.decode(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

QString markdownToHTML(const QString& input, const OutputContext& context) {
    const QString html = Markdown::toHTML(readText(input), outputStem(input));
    return AtomicFile::writeBytes(context.destination(input, QStringLiteral("html")),
                                  [&] { return html.toUtf8(); });
}

} // namespace

QString convert(const QString& input, const DocumentFormat& format, const OutputContext& context) {
    if (format == DocumentFormat::html && isMarkdown(input))
        return markdownToHTML(input, context);
    throw ConversionError::unsupported(
        QStringLiteral("Dokumentumwandlung in %1").arg(format.title));
}

} // namespace tramix::DocumentConverter
