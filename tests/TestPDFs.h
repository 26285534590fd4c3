// PDFs that tests build for themselves, and what the tools users have (qpdf, pdfinfo,
// pdftotext) say about a PDF.
#pragma once

#include <QByteArray>
#include <QList>
#include <QSizeF>
#include <QString>
#include <QStringList>

namespace tramix::test {

struct TextPage {
    TextPage(const QString& text, int rotation = 0, QSizeF size = {595, 842})
        : text(text)
        , rotation(rotation)
        , size(size) {}

    QString text; // Latin-1 lines parted by "\n", drawn in Helvetica
    int rotation;
    QSizeF size;
    QString cropBox; // "[x0 y0 x1 y1]", or empty for none
    QString linkURI; // a link annotation over the text, when not empty
};

// A PDF with one page per entry; without any, one that qpdf and poppler open but has no pages.
QByteArray pagesPDF(const QList<TextPage>& pages);
QByteArray textPDF(const QStringList& pageTexts);

// A PDF of `objects`, numbered from 1 (the first must be the catalogue), with its
// cross-reference table; for files no helper makes.
QByteArray pdfOf(const QList<QByteArray>& objects);
// A stream object: `entries` of its dictionary (without "<<" and ">>") and its data.
QByteArray streamObject(const QByteArray& entries, const QByteArray& data);

// One page of `shown` × `shown` points covered by an image XObject with `entries` in its
// dictionary besides its type, and `data`.
QByteArray imagePDF(const QByteArray& entries, const QByteArray& data, double shown);

// As `imagePDF`, for a `side` × `side` image of one grey, stored Flate-compressed (made row by
// row: a 20,000-pixel side costs a few hundred kilobytes).
QByteArray greyImagePDF(int side, double shown, int grey = 180);

// How far the resident memory of this process rose above what it was when this was made, at
// its highest, in bytes; for checking what one piece of work takes at most.
class MemoryPeak {
public:
    MemoryPeak();
    qint64 rise() const;

private:
    qint64 start_;
};

int pageCountOf(const QString& pdf);
// "595 x 842" as pdfinfo shows the page's size (points, rounded as pdfinfo does) and rotation.
QString pageSizeOf(const QString& pdf, int page);
int rotationOf(const QString& pdf, int page);
QString textOf(const QString& pdf);
// Whether `qpdf --check` finds the file sound.
bool passesCheck(const QString& pdf);

// A copy of `pdf` at `locked` that needs the password "geheim" to open.
void encrypt(const QString& pdf, const QString& locked);

} // namespace tramix::test
