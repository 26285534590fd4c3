#include "PageThumbnails.h"

#include "ConversionError.h"
#include "PDF/PDFRenderer.h"
#include "PreviewImage.h"

#include <QFileInfo>
#include <QHash>
#include <QList>
#include <QSet>
#include <QtConcurrent>
#include <algorithm>
#include <mutex>

namespace tramix {

namespace {

QString keyOf(const QString& path, int page) {
    return path + u'#' + QString::number(page);
}

// The largest resolution at which the page fits the box.
double dpiFor(const poppler::page& page, QSize box) {
    const QSizeF points = PDFRenderer::pointSize(page);
    if (points.isEmpty())
        return 72;
    return 72 * std::min(box.width() / points.width(), box.height() / points.height());
}

} // namespace

// Shared with the worker, which may outlive a request by one page.
struct PageThumbnails::Queue {
    std::mutex mutex;
    QList<std::pair<QString, int>> waiting; // newest last
    QSet<QString> pending;
    QHash<QString, QString> failures;
    bool running = false;
    bool stopping = false;
};

PageThumbnails::PageThumbnails(QSize box, QObject* parent)
    : QObject(parent)
    , box_(box)
    , queue_(std::make_shared<Queue>()) {
    cache_.setMaxCost(cacheBytes);
}

PageThumbnails::~PageThumbnails() {
    {
        std::lock_guard lock(queue_->mutex);
        queue_->stopping = true;
        queue_->waiting.clear();
    }
    worker_.waitForFinished();
}

QImage PageThumbnails::thumbnail(const QString& path, int page) {
    const QString key = keyOf(path, page);
    if (const QImage* image = cache_.object(key))
        return *image;
    std::lock_guard lock(queue_->mutex);
    if (queue_->failures.contains(path))
        return {};
    if (queue_->pending.contains(key)) {
        // Asked again: it is in view, so it goes first.
        const auto at =
            std::find(queue_->waiting.begin(), queue_->waiting.end(), std::pair(path, page));
        if (at != queue_->waiting.end())
            queue_->waiting.move(at - queue_->waiting.begin(), queue_->waiting.size() - 1);
        return {};
    }
    queue_->pending.insert(key);
    queue_->waiting.append({path, page});
    while (queue_->waiting.size() > mostWaiting) {
        const auto& [oldPath, oldPage] = queue_->waiting.takeFirst();
        queue_->pending.remove(keyOf(oldPath, oldPage));
    }
    if (!queue_->running) {
        queue_->running = true;
        start();
    }
    return {};
}

QString PageThumbnails::failure(const QString& path) const {
    std::lock_guard lock(queue_->mutex);
    return queue_->failures.value(path);
}

bool PageThumbnails::idle() const {
    std::lock_guard lock(queue_->mutex);
    return !queue_->running && queue_->pending.isEmpty();
}

// One worker draws every page in turn and keeps each document open while it is asked for.
void PageThumbnails::start() {
    worker_ = QtConcurrent::run([queue = queue_, box = box_, self = this] {
        QString openPath;
        std::unique_ptr<poppler::document> document;
        for (;;) {
            std::pair<QString, int> next;
            {
                std::lock_guard lock(queue->mutex);
                if (queue->stopping || queue->waiting.isEmpty()) {
                    queue->running = false;
                    return;
                }
                next = queue->waiting.takeLast();
            }
            const auto& [path, page] = next;
            QImage image;
            QString failure;
            try {
                if (path != openPath || !document) {
                    document = PDFRenderer::open(path);
                    openPath = path;
                }
                std::unique_ptr<poppler::page> content(document->create_page(page - 1));
                if (!content)
                    throw ConversionError::unreadable(QFileInfo(path).fileName());
                image = PreviewImage::toQImage(
                    PDFRenderer::render(*content, page, dpiFor(*content, box)).image);
            } catch (const std::exception& error) {
                failure = describeError(error);
                document.reset();
            }
            std::lock_guard lock(queue->mutex);
            if (queue->stopping)
                continue;
            if (!failure.isEmpty())
                queue->failures.insert(path, failure);
            // Queued to the interface thread; the destructor waits for this loop, so `self`
            // is alive while it posts. The page stays pending until it is in the cache, so
            // that it is not asked for twice.
            QMetaObject::invokeMethod(self, [self, path, page, image] {
                {
                    std::lock_guard lock(self->queue_->mutex);
                    self->queue_->pending.remove(keyOf(path, page));
                }
                if (!image.isNull()) {
                    self->cache_.insert(keyOf(path, page), new QImage(image), image.sizeInBytes());
                    ++self->drawn_;
                }
                Q_EMIT self->ready(path, page);
            });
        }
    });
}

} // namespace tramix
