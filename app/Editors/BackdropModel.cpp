#include "BackdropModel.h"

#include "BackdropStyleMemory.h"
#include "BackgroundWork.h"
#include "Image/Backdrop.h"
#include "Image/ImageEditing.h"
#include "ImageProgress.h"
#include "PreviewImage.h"
#include "Settings/DebugLog.h"
#include "Settings/UILanguage.h"

#include <QElapsedTimer>
#include <QFileInfo>

namespace tramix {

namespace {

struct RenderedPreview {
    QImage image;
    double milliseconds = 0;
};

// What saving reached: the files written and, when one failed, where and why.
struct SaveRun {
    QStringList written;
    int nextIndex = 0;
    std::optional<QString> failure;
};

} // namespace

BackdropModel::BackdropModel(QStringList urls, std::function<OutputContext()> context,
                             QObject* parent)
    : QObject(parent)
    , urls_(std::move(urls))
    , context_(std::move(context))
    , style_(BackdropStyleMemory::last()) {
    if (!urls_.isEmpty())
        load();
}

BackdropModel::~BackdropModel() = default;

std::optional<QString> BackdropModel::progress() const {
    return imageProgress(index_, urls_.size());
}

void BackdropModel::setStyle(const BackdropStyle& style) {
    if (style == style_)
        return;
    style_ = style;
    BackdropStyleMemory::remember(style_);
    Q_EMIT changed();
    renderPreview();
}

void BackdropModel::load() {
    base_.reset();
    preview_ = QImage();
    rendered_.reset();
    error_.reset();
    loading_ = true;
    const quint64 generation = ++generation_;
    Q_EMIT changed();
    runInBackground(
        this, [url = urls_.at(index_)] { return ImageEditing::preview(url, previewEdge).image; },
        [this, generation](const Outcome<vips::VImage>& outcome) {
            if (generation != generation_)
                return;
            loading_ = false;
            if (outcome.value) {
                base_ = *outcome.value;
                DebugLog::write(QStringLiteral("Editor: „%1“ bereit")
                                    .arg(QFileInfo(urls_.at(index_)).fileName()));
            } else {
                error_ = outcome.error;
            }
            Q_EMIT changed();
            renderPreview();
        });
}

// One rendering at a time; a style chosen meanwhile is rendered when it is done, and only the
// last one of several.
void BackdropModel::renderPreview() {
    if (!base_ || rendering_ || (rendered_ && *rendered_ == style_))
        return;
    rendering_ = true;
    const quint64 generation = generation_;
    const BackdropStyle style = style_;
    runInBackground(
        this,
        [base = *base_, style] {
            QElapsedTimer clock;
            clock.start();
            QImage image = PreviewImage::toQImage(Backdrop::render(base, style));
            return RenderedPreview{image, double(clock.nsecsElapsed()) / 1e6};
        },
        [this, generation, style](const Outcome<RenderedPreview>& outcome) {
            rendering_ = false;
            if (generation != generation_) {
                renderPreview();
                return;
            }
            ++renderings_;
            rendered_ = style;
            if (outcome.value) {
                preview_ = outcome.value->image;
                lastRenderMs_ = outcome.value->milliseconds;
            } else {
                error_ = outcome.error;
            }
            Q_EMIT changed();
            renderPreview();
        });
}

void BackdropModel::save() {
    saveFrom(index_, false);
}

void BackdropModel::saveAll() {
    saveFrom(index_, true);
}

void BackdropModel::saveFrom(int index, bool all) {
    if (saving_ || finished())
        return;
    saving_ = true;
    error_.reset();
    Q_EMIT changed();
    const int last = all ? int(urls_.size()) - 1 : index;
    runInBackground(
        this,
        [urls = urls_, index, last, style = style_,
         context = context_ ? context_() : OutputContext()] {
            SaveRun run{{}, index, std::nullopt};
            for (; run.nextIndex <= last; ++run.nextIndex) {
                try {
                    run.written.append(Backdrop::render(urls.at(run.nextIndex), style, context));
                } catch (const std::exception& error) {
                    run.failure = describeError(error);
                    break;
                }
            }
            return run;
        },
        [this](const Outcome<SaveRun>& outcome) {
            saving_ = false;
            if (!outcome.value) {
                error_ = outcome.error;
                Q_EMIT changed();
                return;
            }
            outputs_.append(outcome.value->written);
            for (const QString& written : outcome.value->written)
                DebugLog::write(
                    QStringLiteral("Editor: „%1“ geschrieben").arg(QFileInfo(written).fileName()));
            if (outcome.value->failure) {
                error_ = outcome.value->failure;
                if (outcome.value->nextIndex != index_) {
                    index_ = outcome.value->nextIndex;
                    load();
                    error_ = outcome.value->failure;
                }
                Q_EMIT changed();
                return;
            }
            index_ = outcome.value->nextIndex - 1;
            next();
        });
}

void BackdropModel::next() {
    if (finished() || saving_)
        return;
    ++index_;
    if (finished()) {
        ++generation_;
        Q_EMIT changed();
        if (onFinish)
            onFinish(outputs_);
        return;
    }
    load();
}

} // namespace tramix
