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
