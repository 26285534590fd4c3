#include "CropModel.h"

#include "BackgroundWork.h"
#include "Image/ImageEditing.h"
#include "ImageProgress.h"
#include "PreviewImage.h"
#include "Settings/DebugLog.h"
#include "Settings/UILanguage.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>

namespace tramix {

namespace {

struct LoadedPreview {
    vips::VImage image;
    QSizeF fullSize;
};

} // namespace

CropModel::CropModel(QStringList urls, std::function<OutputContext()> context, QObject* parent)
    : QObject(parent)
    , urls_(std::move(urls))
    , context_(std::move(context)) {
    if (!urls_.isEmpty())
        load();
}

CropModel::~CropModel() = default;

std::optional<QString> CropModel::progress() const {
    return imageProgress(index_, urls_.size());
}

QSize CropModel::cropPixels() const {
    return {int(rect_.width() * pixelSize_.width()), int(rect_.height() * pixelSize_.height())};
}

std::optional<double> CropModel::normalisedRatio() const {
    const std::optional<double> ratio = CropAspects::ratio(aspect_, pixelSize_);
    if (!ratio || !(pixelSize_.width() > 0))
        return std::nullopt;
    return *ratio * pixelSize_.height() / pixelSize_.width();
}

void CropModel::setAspect(CropAspect aspect) {
    aspect_ = aspect;
    const std::optional<double> ratio = normalisedRatio();
    if (!ratio) {
        rect_ = QRectF(0, 0, 1, 1);
    } else {
        const double width = *ratio < 1 ? *ratio : 1;
        const double height = *ratio < 1 ? 1 : 1 / *ratio;
        rect_ = QRectF((1 - width) / 2, (1 - height) / 2, width, height);
    }
    Q_EMIT changed();
}

void CropModel::move(const QRectF& start, QPointF offset) {
    const double x = std::clamp(start.x() + offset.x(), 0.0, std::max(0.0, 1 - start.width()));
    const double y = std::clamp(start.y() + offset.y(), 0.0, std::max(0.0, 1 - start.height()));
    rect_ = QRectF(x, y, start.width(), start.height());
    Q_EMIT changed();
}

void CropModel::resize(const QRectF& start, Corner corner, QPointF offset) {
    const bool dragsLeft = corner == Corner::topLeft || corner == Corner::bottomLeft;
    const bool dragsTop = corner == Corner::topLeft || corner == Corner::topRight;
    // The anchor is the opposite corner: on the right when the left one is dragged, and so on.
    const bool anchorRight = dragsLeft, anchorBottom = dragsTop;
    const QPointF anchor(anchorRight ? start.right() : start.left(),
                         anchorBottom ? start.bottom() : start.top());
    const QPointF dragged(dragsLeft ? start.left() : start.right(),
                          dragsTop ? start.top() : start.bottom());
    const double newX = std::clamp(dragged.x() + offset.x(), 0.0, 1.0);
    const double newY = std::clamp(dragged.y() + offset.y(), 0.0, 1.0);
    double width = std::max(std::abs(newX - anchor.x()), minimumSide);
    double height = std::max(std::abs(newY - anchor.y()), minimumSide);
    const double roomX = anchorRight ? anchor.x() : 1 - anchor.x();
    const double roomY = anchorBottom ? anchor.y() : 1 - anchor.y();
    if (const std::optional<double> ratio = normalisedRatio()) {
        const double r = *ratio;
        if (width / height <= r)
            width = height * r;
        else
            height = width / r;
        if (width > roomX) {
            width = roomX;
            height = roomX / r;
        }
        if (height > roomY) {
            height = roomY;
            width = roomY * r;
        }
    } else {
        width = std::min(width, roomX);
        height = std::min(height, roomY);
    }
    rect_ = QRectF(anchorRight ? anchor.x() - width : anchor.x(),
                   anchorBottom ? anchor.y() - height : anchor.y(), width, height);
    Q_EMIT changed();
}

void CropModel::turn(int turns) {
    if (busy_)
        return;
    quarterTurns_ = (quarterTurns_ + turns) & 3;
    applyRotation();
}

void CropModel::applyRotation() {
    if (basePreview_) {
        try {
            preview_ = PreviewImage::toQImage(ImageEditing::rotated(*basePreview_, quarterTurns_));
        } catch (const std::exception& failure) {
            error_ = describeError(failure);
        }
    }
    pixelSize_ = quarterTurns_ % 2 == 0 ? baseSize_ : baseSize_.transposed();
    setAspect(aspect_);
}

void CropModel::setBusy(bool busy) {
    busy_ = busy;
    Q_EMIT changed();
}

void CropModel::load() {
    preview_ = QImage();
    basePreview_.reset();
    error_.reset();
    const quint64 generation = ++generation_;
    setBusy(true);
    runInBackground(
        this,
        [url = urls_.at(index_)] {
            const ImageEditing::Preview loaded = ImageEditing::preview(url, previewEdge);
            return LoadedPreview{loaded.image, loaded.fullSize};
        },
        [this, generation](const Outcome<LoadedPreview>& outcome) {
            if (generation != generation_)
                return;
            busy_ = false;
            if (!outcome.value) {
                error_ = outcome.error;
                Q_EMIT changed();
                return;
            }
            DebugLog::write(
                QStringLiteral("Editor: „%1“ bereit").arg(QFileInfo(urls_.at(index_)).fileName()));
            basePreview_ = outcome.value->image;
            baseSize_ = outcome.value->fullSize;
            applyRotation();
        });
}

void CropModel::save() {
    if (busy_ || index_ < 0 || index_ >= urls_.size())
        return;
    error_.reset();
    setBusy(true);
    const quint64 generation = generation_;
    runInBackground(
        this,
        [url = urls_.at(index_), rect = rect_, turns = quarterTurns_,
         context = context_ ? context_() : OutputContext()] {
            return ImageEditing::crop(url, rect, turns, context);
        },
        [this, generation](const Outcome<QString>& outcome) {
            if (generation != generation_)
                return;
            busy_ = false;
            if (!outcome.value) {
                error_ = outcome.error;
                Q_EMIT changed();
                return;
            }
            outputs_.append(*outcome.value);
            DebugLog::write(QStringLiteral("Editor: „%1“ geschrieben")
                                .arg(QFileInfo(*outcome.value).fileName()));
            next();
        });
}

void CropModel::next() {
    if (finished())
        return;
    ++index_;
    quarterTurns_ = 0;
    if (finished()) {
        busy_ = false;
        Q_EMIT changed();
        if (onFinish)
            onFinish(outputs_);
        return;
    }
    load();
}

} // namespace tramix
