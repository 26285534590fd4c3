#include "SamplePDF.h"

#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>

namespace tramix::SamplePDF {

namespace {

constexpr int resolution = 72; // points

void drawPage(QPainter& painter, const QRectF& page, const QString& title, int number) {
    const QColor ink(0x2b, 0x2f, 0x3a);
    const QColor accent = QColor::fromHsv((215 + number * 29) % 360, 150, 210);
    painter.fillRect(QRectF(page.left(), page.top(), page.width(), 12), accent);
    QFont heading(QStringLiteral("Sans"), 22, QFont::DemiBold);
    painter.setFont(heading);
    painter.setPen(ink);
    painter.drawText(QRectF(56, 52, page.width() - 112, 40), Qt::AlignLeft | Qt::AlignVCenter,
                     title);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 40));
    qreal y = 120;
    for (int line = 0; line < 14; ++line, y += 16)
        painter.drawRoundedRect(QRectF(56, y, page.width() - 112 - (line * 37 % 140), 6), 3, 3);
    // A bar chart on every other page, a picture block otherwise.
    const QRectF figure(56, y + 20, page.width() - 112, 210);
    if (number % 2) {
        for (int bar = 0; bar < 6; ++bar) {
            const qreal height = 40 + (bar * 53 + number * 31) % 160;
            painter.setBrush(bar % 2 ? accent : accent.lighter(140));
            painter.drawRect(
                QRectF(figure.left() + 12 + bar * 78, figure.bottom() - height, 52, height));
        }
    } else {
        QLinearGradient sky(figure.topLeft(), figure.bottomLeft());
        sky.setColorAt(0, accent.lighter(150));
        sky.setColorAt(1, accent.darker(110));
        painter.setBrush(sky);
        painter.drawRoundedRect(figure, 6, 6);
    }
    painter.setBrush(QColor(0, 0, 0, 40));
    y = figure.bottom() + 30;
    for (int line = 0; line < 12 && y < page.height() - 90; ++line, y += 16)
        painter.drawRoundedRect(QRectF(56, y, page.width() - 112 - (line * 53 % 170), 6), 3, 3);
    painter.setPen(ink);
    painter.setFont(QFont(QStringLiteral("Sans"), 9));
    painter.drawText(QRectF(0, page.height() - 48, page.width(), 20), Qt::AlignCenter,
                     QString::number(number));
}

} // namespace

bool write(const QString& path, const QString& title, int pages) {
    QPdfWriter writer(path);
    writer.setResolution(resolution);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    writer.setTitle(title);
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF page(QPointF(), QSizeF(writer.width(), writer.height()));
    for (int number = 1; number <= pages; ++number) {
        if (number > 1)
            writer.newPage();
        drawPage(painter, page, title, number);
    }
    return painter.end();
}

} // namespace tramix::SamplePDF
