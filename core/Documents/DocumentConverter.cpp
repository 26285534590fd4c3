#include "DocumentConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "DocumentCheck.h"
#include "Engines/EngineModule.h"
#include "Engines/PDFEngine.h"
#include "FileKind.h"
#include "HTMLImages.h"
#include "Markdown.h"
#include "OfficeSuite.h"
#include "ScratchFolder.h"
#include "StyledTextHTML.h"
#include "TextHTML.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStringDecoder>

namespace tramix::DocumentConverter {

namespace {

QByteArray readBytes(const QString& input) {
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        throw ConversionError::unreadable(QFileInfo(input).fileName());
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        throw ConversionError::unreadable(QFileInfo(input).fileName());
    return bytes;
}

// UTF-8 as written by every editor today; text that is not valid UTF-8 is read as Latin-1
// rather than turned into replacement characters.
QString readText(const QString& input) {
    const QByteArray bytes = readBytes(input);
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = utf8.decode(bytes);
    return utf8.hasError() ? QString::fromLatin1(bytes) : text;
}

QString writeText(const QString& input, const QString& ext, const QString& text,
                  const OutputContext& context) {
    return AtomicFile::writeBytes(context.destination(input, ext), [&] { return text.toUtf8(); });
}

// The inputs of one call on their way: those that LibreOffice must read or write wait in
// `sources`, under stems unique in the batch, since its results all land in one folder.
class Batch {
public:
    Batch(const QStringList& inputs, const DocumentFormat& format, const OutputContext& context,
          const Outcome& outcome)
        : inputs_(inputs)
        , format_(format)
        , context_(context)
        , outcome_(outcome)
        , scratch_(QStringLiteral("documents")) {}

    void run();

private:
    void take(qsizetype index);
    void takePDF(qsizetype index);
    void convertInOffice(const QList<qsizetype>& chosen, const QString& inputFilter);
    void queueHTML(qsizetype index, const QByteArray& html);
    void queueFile(qsizetype index, const QString& path);
    QString uniqueStem(const QString& stem);
    void officeEnded(qsizetype source, const std::optional<QString>& error);
    QString commit(const QString& input, const QString& result) const;
    void tell(qsizetype index, const QStringList& outputs, const std::optional<QString>& error);

    const QStringList& inputs_;
    const DocumentFormat& format_;
    const OutputContext& context_;
    const Outcome& outcome_;
    ScratchFolder scratch_;
    QString results_; // where LibreOffice writes, made before it starts
    QList<OfficeSuite::Source> sources_;
    QList<qsizetype> owners_; // the input of each source
    QSet<QString> stems_;
    qsizetype told_ = 0;
};

void Batch::run() {
    for (qsizetype index = 0; index < inputs_.size(); ++index) {
        context_.throwIfCancelled();
        try {
            take(index);
        } catch (const ConversionError& error) {
            if (error.kind() == ConversionError::Kind::cancelled)
                throw;
            tell(index, {}, error.errorDescription());
        } catch (const std::exception& error) {
            tell(index, {}, describeError(error));
        }
    }
    if (sources_.isEmpty())
        return;
    // LibreOffice opens web pages in its web editor, whose PDFs lose their first paragraph;
    // read as text documents they come out whole. The import filter holds for a whole start, so
    // web pages and other documents each get one.
    QList<qsizetype> pages, others;
    for (qsizetype source = 0; source < sources_.size(); ++source) {
        const QString ext = QFileInfo(sources_[source].path).suffix().toLower();
        (ext == u"html" || ext == u"htm" ? pages : others).append(source);
    }
    results_ = scratch_.filePath(QStringLiteral("results"));
    QDir().mkpath(results_);
    convertInOffice(others, {});
    convertInOffice(pages, QStringLiteral("HTML (StarWriter)"));
}

void Batch::convertInOffice(const QList<qsizetype>& chosen, const QString& inputFilter) {
    QList<OfficeSuite::Source> sources;
    for (qsizetype source : chosen)
        sources.append(sources_[source]);
    OfficeSuite::Options options;
    options.inputFilter = inputFilter;
    OfficeSuite::convert(
        sources, OfficeSuite::targetFor(format_.ext), results_,
        [&](qsizetype index, const std::optional<QString>& error) {
            officeEnded(chosen[index], error);
        },
        [this] { return context_.cancelled(); }, options);
}

void Batch::take(qsizetype index) {
    const QString& input = inputs_[index];
    const QString ext = pathExtension(input).toLower();
    const QString stem = outputStem(input);
    if (ext == u"md" || ext == u"markdown") {
        const QString html = Markdown::toHTML(readText(input), stem);
        if (format_ == DocumentFormat::html)
            return tell(index, {writeText(input, QStringLiteral("html"), html, context_)}, {});
        return queueHTML(index, HTMLImages::embed(html.toUtf8(), QFileInfo(input).path()));
    }
    if (ext == u"txt" || ext == u"text") {
        DocumentCheck::verify(input);
        const QString html = TextHTML::toHTML(readText(input), stem);
        if (format_ == DocumentFormat::html)
            return tell(index, {writeText(input, QStringLiteral("html"), html, context_)}, {});
        return queueHTML(index, html.toUtf8());
    }
    if (ext == u"html" || ext == u"htm") {
        DocumentCheck::verify(input);
        return queueHTML(index, HTMLImages::embed(readBytes(input), QFileInfo(input).path()));
    }
    if (ext == u"rtfd") // a folder that keeps its text as RTF beside the pictures
        return queueFile(index, input + QStringLiteral("/TXT.rtf"));
    if (ext == u"pdf")
        return takePDF(index);
    if (ext == u"pages" || ext == u"webarchive")
        throw ConversionError::unsupported(
            QStringLiteral("%1 in %2").arg(ext.toUpper(), format_.title));
    DocumentCheck::verify(input);
    queueFile(index, input);
}

// A PDF is read as a flowing document with its structure; LibreOffice makes an editable DOCX
// or RTF of the HTML written from it.
void Batch::takePDF(qsizetype index) {
    const QString& input = inputs_[index];
    OutputContext reading = context_;
    reading.fileProgress = [this](double part) {
        context_.reportFraction((double(told_) + part) / double(inputs_.size()));
    };
    const QByteArray html = StyledTextHTML::write(
        EngineModule::table<PDFEngine>().richText(input, reading), outputStem(input));
    if (format_ == DocumentFormat::html) {
        const QString output = AtomicFile::writeBytes(
            context_.destination(input, QStringLiteral("html")), [&] { return html; });
        return tell(index, {output}, {});
    }
    queueHTML(index, html);
}

void Batch::queueHTML(qsizetype index, const QByteArray& html) {
    const QString path =
        scratch_.filePath(uniqueStem(outputStem(inputs_[index])) + QStringLiteral(".html"));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(html) < 0 || !file.flush())
        throw ConversionError::failed(
            QStringLiteral("Der Zwischenstand für „%1“ kann nicht geschrieben werden.")
                .arg(QFileInfo(inputs_[index]).fileName()));
    sources_.append({path, QFileInfo(inputs_[index]).fileName()});
    owners_.append(index);
}

// Other files are reached through a link in the scratch folder, so that LibreOffice's lock
// files stay out of the user's folder and equal names do not collide.
void Batch::queueFile(qsizetype index, const QString& path) {
    const QFileInfo info(path);
    if (!info.exists())
        throw ConversionError::unreadable(QFileInfo(inputs_[index]).fileName());
    const QString source =
        scratch_.filePath(uniqueStem(info.completeBaseName()) + u'.' + info.suffix());
    if (!QFile::link(info.absoluteFilePath(), source))
        throw ConversionError::unreadable(QFileInfo(inputs_[index]).fileName());
    sources_.append({source, QFileInfo(inputs_[index]).fileName()});
    owners_.append(index);
}

QString Batch::uniqueStem(const QString& stem) {
    QString candidate = stem;
    for (int n = 2; stems_.contains(candidate); ++n)
        candidate = QStringLiteral("%1 %2").arg(stem).arg(n);
    stems_.insert(candidate);
    return candidate;
}

void Batch::officeEnded(qsizetype source, const std::optional<QString>& error) {
    const qsizetype index = owners_[source];
    if (error)
        return tell(index, {}, error);
    try {
        const QString result = OfficeSuite::resultPath(
            sources_[source], OfficeSuite::targetFor(format_.ext), results_);
        tell(index, {commit(inputs_[index], result)}, {});
    } catch (const std::exception& failure) {
        tell(index, {}, describeError(failure));
    }
}

// Plain text gets line feeds and no byte-order mark, whatever LibreOffice wrote.
QString Batch::commit(const QString& input, const QString& result) const {
    if (format_ == DocumentFormat::txt) {
        QString text = readText(result);
        if (text.startsWith(QChar(0xfeff)))
            text.remove(0, 1);
        text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
        return writeText(input, format_.ext, text, context_);
    }
    return AtomicFile::write(
        context_.destination(input, format_.ext),
        [&](const QString& temporary) { AtomicFile::fillFrom(temporary, result); });
}

void Batch::tell(qsizetype index, const QStringList& outputs, const std::optional<QString>& error) {
    outcome_(index, outputs, error);
    context_.reportFraction(double(++told_) / double(inputs_.size()));
}

} // namespace

QString convert(const QString& input, const DocumentFormat& format, const OutputContext& context) {
    QString output;
    std::optional<QString> failure;
    convertAll({input}, format, context,
               [&](qsizetype, const QStringList& outputs, const std::optional<QString>& error) {
                   output = outputs.value(0);
                   failure = error;
               });
    if (failure)
        throw ConversionError::failed(*failure);
    return output;
}

void convertAll(const QStringList& inputs, const DocumentFormat& format,
                const OutputContext& context, const Outcome& outcome) {
    Batch(inputs, format, context, outcome).run();
}

} // namespace tramix::DocumentConverter
