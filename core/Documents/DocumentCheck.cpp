#include "DocumentCheck.h"

#include "ConversionError.h"
#include "FileKind.h"
#include "Tables/ZipPackage.h"

#include <QFile>
#include <QFileInfo>

namespace tramix::DocumentCheck {

namespace {

// Enough of the start to tell a container and a text apart.
constexpr qint64 headLength = 64 * 1024;
// Where an ODT's manifest says how its parts are encrypted; it is small.
constexpr qint64 manifestLimit = 1024 * 1024;

const QByteArray compoundFile = QByteArray::fromHex("d0cf11e0a1b11ae1"); // OLE2 container
const QByteArray zipFile = "PK\x03\x04";

QByteArray headOf(const QString& input) {
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        throw ConversionError::unreadable(QFileInfo(input).fileName());
    return file.read(headLength);
}

[[noreturn]] void refuse(const QString& input, const char* sentence) {
    throw ConversionError::failed(QString::fromUtf8(sentence).arg(QFileInfo(input).fileName()));
}

[[noreturn]] void notA(const QString& input, const QString& ext) {
    throw ConversionError::failed(QStringLiteral("„%1“ ist kein %2-Dokument, auch wenn der Name "
                                                 "das sagt.")
                                      .arg(QFileInfo(input).fileName(), ext.toUpper()));
}

// Word keeps a password-protected DOCX as an encrypted package inside an OLE2 container.
bool isEncryptedPackage(const QString& input) {
    QFile file(input);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    static const QByteArray streamName =
        QByteArray::fromRawData(reinterpret_cast<const char*>(u"EncryptedPackage"), 32);
    return file.readAll().contains(streamName);
}

QByteArray partOf(const ZipPackage& package, QStringView name, qint64 limit) {
    const ZipPackage::Entry* entry = package.find(name);
    if (!entry || entry->size > limit)
        return {};
    std::unique_ptr<ZipPackage::Reader> reader = package.read(*entry);
    const QByteArray bytes = reader->readAll();
    return reader->failed() ? QByteArray() : bytes;
}

void verifyPackage(const QString& input, const QString& ext, const QByteArray& head) {
    if (ext == u"docx" && head.startsWith(compoundFile)) {
        if (isEncryptedPackage(input))
            refuse(input, "„%1“ ist mit einem Passwort geschützt. Bitte ohne Passwort speichern "
                          "und noch einmal versuchen.");
        return; // an older Word document under the new name, which LibreOffice reads
    }
    if (!head.startsWith(zipFile))
        notA(input, ext);
    ZipPackage package;
    const QString mainPart =
        ext == u"docx" ? QStringLiteral("word/document.xml") : QStringLiteral("content.xml");
    if (!package.open(input) || !package.find(mainPart))
        refuse(input, "„%1“ ist beschädigt oder kein lesbares Dokument.");
    if (ext == u"odt" &&
        partOf(package, u"META-INF/manifest.xml", manifestLimit).contains("encryption-data"))
        refuse(input, "„%1“ ist mit einem Passwort geschützt. Bitte ohne Passwort speichern und "
                      "noch einmal versuchen.");
}

} // namespace

void verify(const QString& input) {
    const QString ext = pathExtension(input).toLower();
    const QByteArray head = headOf(input);
    if (head.isEmpty())
        refuse(input, "„%1“ ist leer.");
    if (ext == u"docx" || ext == u"odt") {
        verifyPackage(input, ext, head);
    } else if (ext == u"doc") {
        // Many programs save RTF or the newer format under this name; LibreOffice reads both.
        if (!head.startsWith(compoundFile) && !head.startsWith("{\\rtf") &&
            !head.startsWith(zipFile))
            notA(input, ext);
    } else if (ext == u"rtf") {
        if (!head.trimmed().startsWith("{\\rtf") && !head.startsWith("\xef\xbb\xbf{\\rtf"))
            notA(input, ext);
    } else if (head.contains('\0') && !head.startsWith("\xff\xfe") &&
               !head.startsWith("\xfe\xff")) {
        // Text documents: a NUL byte only appears in UTF-16, which announces itself.
        refuse(input, "„%1“ ist keine Textdatei, auch wenn der Name das sagt.");
    }
}

} // namespace tramix::DocumentCheck
