#include "EditorRendering.h"

#include "BackdropEditorView.h"
#include "BackdropModel.h"
#include "CropEditorView.h"
#include "CropModel.h"
#include "EditorChrome.h"
#include "Settings/UILanguage.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QTemporaryDir>
#include <QTimer>

namespace tramix::EditorRendering {

namespace {

constexpr int scale = 2;
constexpr int loadTimeoutMs = 30000;

// A landscape photo: sky, sun, hills and a lake.
QImage samplePhoto() {
    QImage image(1600, 1067, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, 700);
    sky.setColorAt(0, QColor(0x6f, 0xa8, 0xdc));
    sky.setColorAt(1, QColor(0xf9, 0xd9, 0xb0));
    p.fillRect(image.rect(), sky);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xff, 0xf1, 0xc9));
    p.drawEllipse(QPointF(1120, 420), 90, 90);
    const auto hill = [&](double top, double phase, QColor colour) {
        QPainterPath path(QPointF(0, 1067));
        for (int x = 0; x <= 1600; x += 40)
            path.lineTo(x, top + 60 * std::sin(x / 260.0 + phase));
        path.lineTo(1600, 1067);
        p.fillPath(path, colour);
    };
    hill(560, 0.3, QColor(0x7c, 0x93, 0xb8));
    hill(650, 2.1, QColor(0x4e, 0x7a, 0x5a));
    hill(760, 4.0, QColor(0x35, 0x5e, 0x43));
    p.fillRect(QRectF(0, 880, 1600, 187), QColor(0x5b, 0x8f, 0xb0));
    return image;
}

// A screenshot of a window: title bar, side bar, a few rows of content.
QImage sampleScreenshot() {
    QImage image(1440, 900, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor(0xfa, 0xfa, 0xfc));
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.fillRect(QRect(0, 0, 1440, 56), QColor(0xec, 0xec, 0xf0));
    for (int i = 0; i < 3; ++i) {
        p.setPen(Qt::NoPen);
        p.setBrush(QList<QColor>{QColor(0xff, 0x5f, 0x57), QColor(0xfe, 0xbc, 0x2e),
                                 QColor(0x28, 0xc8, 0x40)}[i]);
        p.drawEllipse(QPointF(28 + 24 * i, 28), 7, 7);
    }
    p.fillRect(QRect(0, 56, 300, 844), QColor(0xf0, 0xf0, 0xf4));
    p.setBrush(QColor(0x4f, 0x6c, 0xf0, 40));
    p.drawRoundedRect(QRectF(14, 84, 272, 40), 8, 8);
    for (int i = 0; i < 8; ++i) {
        p.setBrush(QColor(0, 0, 0, i == 0 ? 70 : 35));
        p.drawRoundedRect(QRectF(34, 98 + 52 * i, 120 + 17 * (i % 4) * 3, 12), 6, 6);
    }
    for (int i = 0; i < 6; ++i) {
        p.setBrush(QColor(0xff, 0xff, 0xff));
        p.setPen(QPen(QColor(0, 0, 0, 20), 1));
        p.drawRoundedRect(QRectF(340, 90 + 128 * i, 1060, 108), 12, 12);
        p.setPen(Qt::NoPen);
        p.setBrush(QColor::fromHsv((200 + 37 * i) % 360, 110, 235));
        p.drawRoundedRect(QRectF(362, 110 + 128 * i, 68, 68), 12, 12);
        p.setBrush(QColor(0, 0, 0, 80));
        p.drawRoundedRect(QRectF(452, 118 + 128 * i, 260 + 40 * (i % 3), 14), 7, 7);
        p.setBrush(QColor(0, 0, 0, 35));
        p.drawRoundedRect(QRectF(452, 148 + 128 * i, 520 - 30 * (i % 4), 11), 5, 5);
    }
    return image;
}

// Runs the event loop until `ready` holds, or gives up after a while.
template <typename Model, typename Ready> bool waitFor(Model& model, Ready ready) {
    QEventLoop loop;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&model, &Model::changed, &loop, [&] {
        if (ready())
            loop.quit();
    });
    limit.start(loadTimeoutMs);
    if (!ready())
        loop.exec();
    return ready();
}

QImage grab(QWidget& view) {
    view.setAttribute(Qt::WA_DontShowOnScreen);
    view.resize(size);
    view.show();
    QCoreApplication::processEvents();
    QImage image(size * scale, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    view.render(&image);
    return image;
}

QStringList orSample(const QStringList& paths, const QTemporaryDir& scratch, const QImage& image,
                     const QString& german, const QString& english) {
    if (!paths.isEmpty())
        return paths;
    const QString path = scratch.filePath(UILanguage::text(german, english));
    image.save(path);
    return {path};
}

} // namespace

QImage crop(const QStringList& paths, bool dark) {
    const QTemporaryDir scratch;
    CropModel model(orSample(paths, scratch, samplePhoto(), QStringLiteral("Bergsee.jpg"),
                             QStringLiteral("Mountain lake.jpg")),
                    [] { return OutputContext(); });
    if (!waitFor(model, [&] { return !model.busy(); }) || model.preview().isNull())
        return {};
    model.setAspect(CropAspect::fourThree);
    const QRectF start = model.rect();
    model.resize(start, CropModel::Corner::topLeft, {0.12, 0.1});
    CropEditorView view(model, dark);
    return grab(view);
}

QImage backdrop(const QStringList& paths, bool dark) {
    const QTemporaryDir scratch;
    BackdropModel model(orSample(paths, scratch, sampleScreenshot(),
                                 QStringLiteral("Bildschirmfoto.png"),
                                 QStringLiteral("Screenshot.png")),
                        [] { return OutputContext(); });
    if (!waitFor(model, [&] { return !model.loading() && !model.preview().isNull(); }) &&
        model.preview().isNull())
        return {};
    BackdropEditorView view(model, dark);
    return grab(view);
}

} // namespace tramix::EditorRendering
