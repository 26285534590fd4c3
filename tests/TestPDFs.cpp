#include "TestPDFs.h"

#include "TestFiles.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <zlib.h>

namespace tramix::test {

namespace {

QByteArray escaped(const QString& line) {
    QByteArray bytes = line.toLatin1();
    bytes.replace("\\", "\\\\").replace("(", "\\(").replace(")", "\\)");
    return bytes;
}

// Lines from the top left, as on a letter.
QByteArray contentOf(const QString& text, double height) {
    QByteArray content = "BT /F1 24 Tf 72 " + QByteArray::number(height - 142) + " Td 30 TL ";
    for (const QString& line : text.split(u'\n'))
        content += "(" + escaped(line) + ") Tj T* ";
    return content + "ET";
}

QString pdfinfoPage(const QString& pdf, int page, const QString& field) {
    const QString info =
        toolOutput("pdfinfo", {"-f", QString::number(page), "-l", QString::number(page), pdf});
    const QRegularExpression line(QStringLiteral("Page +%1 %2: +([^\\n]*)").arg(page).arg(field));
    return line.match(info).captured(1).trimmed();
}

// A field of /proc/self/status such as "VmRSS", in bytes.
qint64 memoryStatus(const char* field) {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QRegularExpression line(QStringLiteral("%1:\\s+(\\d+) kB").arg(field));
    return line.match(QString::fromLatin1(status.readAll())).captured(1).toLongLong() * 1024;
}

} // namespace

QByteArray pagesPDF(const QList<TextPage>& pages) {
    const qsizetype count = pages.size();
    const qsizetype font = 3 + 2 * count;
    QList<QByteArray> objects;
    QByteArray kids;
    for (qsizetype i = 0; i < count; ++i)
        kids += QByteArray::number(3 + 2 * i) + " 0 R ";
    objects << "<< /Type /Catalog /Pages 2 0 R >>"
            << "<< /Type /Pages /Kids [" + kids + "] /Count " + QByteArray::number(count) + " >>";
    for (qsizetype i = 0; i < count; ++i) {
        const TextPage& page = pages[i];
        QByteArray dict = "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " +
                          QByteArray::number(page.size.width()) + " " +
                          QByteArray::number(page.size.height()) + "]";
        if (page.rotation)
            dict += " /Rotate " + QByteArray::number(page.rotation);
        if (!page.cropBox.isEmpty())
            dict += " /CropBox " + page.cropBox.toLatin1();
        if (!page.linkURI.isEmpty()) {
            dict +=
                " /Annots [<< /Type /Annot /Subtype /Link /Rect [72 690 300 730] /Border [0 0 0]"
                " /A << /S /URI /URI (" +
                page.linkURI.toLatin1() + ") >> >>]";
        }
        dict += " /Resources << /Font << /F1 " + QByteArray::number(font) +
                " 0 R >> >> /Contents " + QByteArray::number(4 + 2 * i) + " 0 R >>";
        const QByteArray content = contentOf(page.text, page.size.height());
        objects << dict << streamObject({}, content);
    }
    objects << "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>";
    return pdfOf(objects);
}

QByteArray pdfOf(const QList<QByteArray>& objects) {
    QByteArray pdf = "%PDF-1.4\n";
    QList<qsizetype> offsets;
    for (qsizetype i = 0; i < objects.size(); ++i) {
        offsets.append(pdf.size());
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (qsizetype offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(objects.size() + 1) +
           " /Root 1 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

QByteArray streamObject(const QByteArray& entries, const QByteArray& data) {
    return "<< " + entries + (entries.isEmpty() ? "" : " ") + "/Length " +
           QByteArray::number(data.size()) + " >>\nstream\n" + data + "\nendstream";
}

QByteArray greyImagePDF(int side, double shown, int grey) {
    z_stream deflater{};
    deflateInit(&deflater, Z_BEST_COMPRESSION);
    QByteArray row(side, char(grey)), image;
    char piece[1 << 16];
    for (int y = 0; y < side; ++y) {
        deflater.next_in = reinterpret_cast<Bytef*>(row.data());
        deflater.avail_in = uInt(row.size());
        const int flush = y + 1 == side ? Z_FINISH : Z_NO_FLUSH;
        do {
            deflater.next_out = reinterpret_cast<Bytef*>(piece);
            deflater.avail_out = sizeof piece;
            deflate(&deflater, flush);
            image.append(piece, qsizetype(sizeof piece - deflater.avail_out));
        } while (deflater.avail_out == 0);
    }
    deflateEnd(&deflater);
    const QByteArray sides =
        "/Width " + QByteArray::number(side) + " /Height " + QByteArray::number(side);
    return imagePDF(sides + " /ColorSpace /DeviceGray /BitsPerComponent 8 /Filter /FlateDecode",
                    image, shown);
}

QByteArray imagePDF(const QByteArray& entries, const QByteArray& data, double shown) {
    const QByteArray size = QByteArray::number(shown);
    return pdfOf({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                  "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + size + " " + size +
                      "] /Resources << /XObject << /Im 4 0 R >> >> /Contents 5 0 R >>",
                  streamObject("/Type /XObject /Subtype /Image " + entries, data),
                  streamObject({}, "q " + size + " 0 0 " + size + " 0 0 cm /Im Do Q")});
}

MemoryPeak::MemoryPeak() {
    // Writing 5 starts the count of the highest resident memory afresh, from what is resident.
    QFile reset(QStringLiteral("/proc/self/clear_refs"));
    if (reset.open(QIODevice::WriteOnly))
        reset.write("5");
    start_ = memoryStatus("VmRSS");
}

qint64 MemoryPeak::rise() const {
    return memoryStatus("VmHWM") - start_;
}

QByteArray textPDF(const QStringList& pageTexts) {
    QList<TextPage> pages;
    for (const QString& text : pageTexts)
        pages.append(TextPage(text));
    return pagesPDF(pages);
}

int pageCountOf(const QString& pdf) {
    const QRegularExpression pages(QStringLiteral("Pages: +(\\d+)"));
    return pages.match(toolOutput("pdfinfo", {pdf})).captured(1).toInt();
}

QString pageSizeOf(const QString& pdf, int page) {
    const QString size = pdfinfoPage(pdf, page, "size");
    return size.left(size.indexOf(u" pts"));
}

int rotationOf(const QString& pdf, int page) {
    return pdfinfoPage(pdf, page, "rot").toInt();
}

QString textOf(const QString& pdf) {
    return toolOutput("pdftotext", {pdf, "-"});
}

bool passesCheck(const QString& pdf) {
    QProcess process;
    process.start("qpdf", {"--check", pdf});
    return process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

void encrypt(const QString& pdf, const QString& locked) {
    toolOutput("qpdf", {"--encrypt", "geheim", "eigner", "256", "--", pdf, locked});
}

} // namespace tramix::test
