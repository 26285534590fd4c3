#include "PDFDocument.h"

#include "../AtomicFile.h"
#include "../ConversionError.h"

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

} // namespace

std::shared_ptr<QPDF> open(const QString& path) {
    const QString name = QFileInfo(path).fileName();
    std::shared_ptr<QPDF> document = quiet();
    try {
        document->processFile(QFile::encodeName(path).constData());
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

void write(QPDF& document, const QString& destination,
           const std::function<void(QPDFWriter&)>& configure) {
    AtomicFile::write(destination, [&](const QString& temporary) {
        // The writer keeps the name for its messages.
        const QByteArray file = QFile::encodeName(temporary);
        try {
            QPDFWriter writer(document, file.constData());
            if (configure)
                configure(writer);
            writer.write();
        } catch (const std::exception&) {
            throw ConversionError::failed(QStringLiteral("PDF konnte nicht gespeichert werden."));
        }
    });
}

} // namespace tramix::PDFDocument
