#include "ShelfSamples.h"

#include "Image/VipsRuntime.h"
#include "Settings/UILanguage.h"
#include "ShelfModel.h"
#include "ShelfThumbnails.h"

#include <QFile>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <cmath>
#include <numbers>
#include <vips/vips8>

namespace tramix::ShelfSamples {

namespace {

using vips::VImage;
using Colour = std::vector<double>;

constexpr double degreesPerRadian = 180.0 / std::numbers::pi;

// From `top` at the first row to `bottom` at the last.
VImage verticalGradient(int width, int height, const Colour& top, const Colour& bottom) {
    const VImage t = VImage::xyz(width, height)[1] / double(height - 1);
    Colour span(3), start(3);
    for (int i = 0; i < 3; ++i) {
        span[i] = bottom[i] - top[i];
        start[i] = top[i];
    }
    return t.bandjoin(t).bandjoin(t).linear(span, start);
}

// A ridge line across the picture: the row where the mountains begin, per column.
VImage ridge(int width, int height, double base, double tall, double period, double phase) {
    const VImage x = VImage::xyz(width, height)[0];
    const VImage slow = ((x / period + phase) * degreesPerRadian).sin();
    const VImage fast = ((x / (period * 0.37) + phase * 2.1) * degreesPerRadian).sin();
    return slow * tall + fast * (tall * 0.35) + base;
}

// An evening sky over a dark range of hills, the sun low between them.
VImage sunset(int width, int height) {
    const VImage y = VImage::xyz(width, height)[1];
    const VImage x = VImage::xyz(width, height)[0];
    VImage picture = verticalGradient(width, height, {46, 38, 104}, {255, 150, 84});
    const double cx = width * 0.62, cy = height * 0.6, r = height * 0.1;
    const VImage distance = ((x - cx).pow(2) + (y - cy).pow(2)).pow(0.5);
    const VImage warmth = (distance < r * 4.5).ifthenelse(1 - distance / (r * 4.5), 0.0);
    picture = picture + warmth.bandjoin(warmth).bandjoin(warmth) * Colour{70, 50, 10};
    picture = (distance < r).ifthenelse(Colour{255, 236, 190}, picture);
    const VImage far = ridge(width, height, height * 0.64, height * 0.05, width * 0.21, 0.4);
    picture = (y > far).ifthenelse(Colour{122, 62, 98}, picture);
    const VImage near = ridge(width, height, height * 0.78, height * 0.06, width * 0.33, 2.2);
    picture = (y > near).ifthenelse(Colour{52, 30, 62}, picture);
    return picture;
}

// Blue hills mirrored in a still lake in the morning.
VImage lake(int width, int height) {
    const VImage y = VImage::xyz(width, height)[1];
    VImage picture = verticalGradient(width, height, {120, 178, 226}, {222, 236, 244});
    const VImage far = ridge(width, height, height * 0.42, height * 0.07, width * 0.25, 1.1);
    picture = (y > far).ifthenelse(Colour{96, 128, 160}, picture);
    const VImage near = ridge(width, height, height * 0.52, height * 0.05, width * 0.16, 0.2);
    picture = (y > near).ifthenelse(Colour{46, 92, 96}, picture);
    const double shore = height * 0.6;
    const VImage water = verticalGradient(width, height, {70, 130, 160}, {28, 70, 98});
    picture = (y > shore).ifthenelse(water, picture);
    return picture;
}

// Fine grain, so the pictures are stored as large as photographs are.
VImage withGrain(const VImage& picture, double sigma) {
    const VImage noise = VImage::gaussnoise(picture.width(), picture.height(),
                                            VImage::option()->set("sigma", sigma)->set("mean", 0));
    return (picture + noise.bandjoin(noise).bandjoin(noise)).cast(VIPS_FORMAT_UCHAR);
}

bool writeOffer(const QString& path) {
    QPdfWriter pdf(path);
    pdf.setPageSize(QPageSize(QPageSize::A4));
    pdf.setResolution(72);
    pdf.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter;
    if (!painter.begin(&pdf))
        return false;
    const QRectF page(0, 0, 595, 842);
    painter.fillRect(page, Qt::white);
    painter.fillRect(QRectF(0, 0, page.width(), 150), QColor(0x4f, 0x6c, 0xf0));
    QFont title = painter.font();
    title.setPixelSize(44);
    title.setBold(true);
    painter.setFont(title);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(48, 40, 500, 80), Qt::AlignLeft | Qt::AlignVCenter,
                     UILanguage::text(QStringLiteral("Angebot"), QStringLiteral("Offer")));
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < 14; ++i) {
        const qreal y = 200 + i * 34;
        painter.setBrush(i % 5 == 0 ? QColor(0x33, 0x33, 0x3a) : QColor(0xc8, 0xc8, 0xd0));
        painter.drawRoundedRect(QRectF(48, y, (i % 5 == 0) ? 220 : 500 - (i * 37) % 120, 12), 6, 6);
    }
    painter.setBrush(QColor(0x4f, 0x6c, 0xf0, 40));
    painter.drawRoundedRect(QRectF(48, 700, 500, 80), 12, 12);
    painter.end();
    return true;
}

bool writeText(const QString& path, const QByteArray& text) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace

QList<ShelfView::Row> rows(const QString& folder) {
    if (!VipsRuntime::ensureStarted())
        return {};
    const bool german = UILanguage::german();
    const auto in = [&](const char* germanName, const char* englishName) {
        return folder + u'/' + QString::fromUtf8(german ? germanName : englishName);
    };
    const QString photo = in("Sonnenuntergang.jpg", "Sunset.jpg");
    const QString offer = in("Angebot 2024.pdf", "Offer 2024.pdf");
    const QString morning = in("Bergsee am Morgen.png", "Mountain lake.png");
    const QString notes = in("Notizen.txt", "Notes.txt");
    const QString slides = in("Präsentation Q3.pptx", "Presentation Q3.pptx");
    try {
        withGrain(sunset(2400, 1600), 9)
            .jpegsave(QFile::encodeName(photo).constData(), VImage::option()->set("Q", 90));
        withGrain(lake(1200, 800), 2).pngsave(QFile::encodeName(morning).constData());
    } catch (const vips::VError&) {
        return {};
    }
    if (!writeOffer(offer) ||
        !writeText(notes, QByteArray("Einkaufsliste\n- Milch\n- Brot\n").repeated(400)) ||
        !writeText(slides, QByteArray(24000, 'x')))
        return {};

    ShelfModel model(QString{});
    model.add({photo, offer, morning, notes, slides});
    // Parked, then moved away by the user: the shelf says it is missing.
    QFile::remove(slides);
    model.refresh();
    QList<ShelfView::Row> list;
    for (const ShelfModel::Item& item : model.items()) {
        const QImage picture = item.present ? ShelfThumbnails::find(item.path, 128) : QImage();
        list.append(ShelfView::rowFor(item, picture));
    }
    return list;
}

} // namespace tramix::ShelfSamples
