#include "PDFDocument.h"

#include "AtomicFile.h"
#include "ConversionError.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>

namespace tramix::PDFDocument {

namespace {

// qpdf reports what it repairs on standard error; a user cannot act on that.
std::shared_ptr<QPDF> quiet() {
    std::shared_ptr<QPDF> document = QPDF::create();
    document->setSuppressWarnings(true);
    return document;
}

// Reading through stdio costs a seek and several small reads for every object, about as much as
// copying it; documents up to this size are read at once and parsed from memory instead.
constexpr qint64 readWholeUpTo = 16 * 1024 * 1024;

// A document parsed from memory, which it reads from for as long as it lives.
struct InMemory {
    QByteArray bytes;
    std::shared_ptr<QPDF> document = quiet();
};

std::shared_ptr<QPDF> parse(const QString& path) {
    const QByteArray file = QFile::encodeName(path);
    QFile input(path);
    if (input.size() > readWholeUpTo || !input.open(QIODevice::ReadOnly)) {
        std::shared_ptr<QPDF> document = quiet();
        document->processFile(file.constData());
        return document;
    }
    auto held = std::make_shared<InMemory>();
    held->bytes = input.readAll();
    held->document->processMemoryFile(file.constData(), held->bytes.constData(),
                                      size_t(held->bytes.size()));
    return std::shared_ptr<QPDF>(held, held->document.get());
}

} // namespace

std::shared_ptr<QPDF> open(const QString& path) {
    const QString name = QFileInfo(path).fileName();
    std::shared_ptr<QPDF> document;
    try {
        document = parse(path);
    } catch (const QPDFExc& error) {
        if (error.getErrorCode() == qpdf_e_password)
            throw ConversionError::failed(QStringLiteral("„%1“ ist passwortgeschützt.").arg(name));
        throw ConversionError::unreadable(name);
    } catch (const std::exception&) {
        throw ConversionError::unreadable(name);
    }
    return document;
}

std::shared_ptr<QPDF> empty() {
    std::shared_ptr<QPDF> document = quiet();
    document->emptyPDF();
    return document;
}

std::vector<QPDFPageObjectHelper> pages(QPDF& document, const QString& name) {
    try {
        return QPDFPageDocumentHelper(document).getAllPages();
    } catch (const std::exception&) {
        throw ConversionError::unreadable(name);
    }
}

void appendCopy(QPDF& target, QPDFPageObjectHelper page) {
    QPDFObjectHandle copy = target.copyForeignObject(page.getObjectHandle());
    // A page listed twice must be two page objects; the copy cache hands back the same one.
    const std::vector<QPDFObjectHandle>& present = target.getAllPages();
    const QPDFObjGen id = copy.getObjGen();
    if (std::any_of(present.begin(), present.end(),
                    [&](QPDFObjectHandle page) { return page.getObjGen() == id; }))
        copy = target.makeIndirectObject(copy.shallowCopy());
    QPDFPageDocumentHelper(target).addPage(QPDFPageObjectHelper(copy), false);
}

QString write(QPDF& document, NameReservation destination,
              const std::function<void(QPDFWriter&)>& configure) {
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        writeTo(document, temporary, configure);
    });
}

void writeTo(QPDF& document, const QString& path,
             const std::function<void(QPDFWriter&)>& configure) {
    // The writer keeps the name for its messages.
    const QByteArray file = QFile::encodeName(path);
    try {
        QPDFWriter writer(document, file.constData());
        if (configure)
            configure(writer);
        writer.write();
    } catch (const std::exception&) {
        throw ConversionError::failed(QStringLiteral("PDF konnte nicht gespeichert werden."));
    }
}

} // namespace tramix::PDFDocument
