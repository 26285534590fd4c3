// Small pictures of PDF pages for the editor, drawn by poppler off the interface thread, newest
// request first, so that the pages in view come before those scrolled past. What is kept is
// bounded: the least recently shown pictures go first.
#pragma once

#include <QCache>
#include <QFuture>
#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>
#include <memory>

namespace tramix {

class PageThumbnails : public QObject {
    Q_OBJECT
public:
    // What the pictures may take together, in bytes.
    static constexpr qint64 cacheBytes = 48'000'000;
    // Requests beyond this many, oldest first, are forgotten: they scrolled out of view and are
    // asked again should they come back.
    static constexpr int mostWaiting = 64;

    // Pictures fit into `box` device pixels.
    explicit PageThumbnails(QSize box, QObject* parent = nullptr);
    ~PageThumbnails() override;

    // Page `page` (from 1) of `path`, or a null image while it is drawn; `ready` follows then.
    QImage thumbnail(const QString& path, int page);
    // The sentence for a document poppler cannot draw, once it failed.
    QString failure(const QString& path) const;
    // Nothing is waiting to be drawn.
    bool idle() const;
    // Pictures drawn so far (for measuring).
    int drawn() const { return drawn_; }

Q_SIGNALS:
    void ready(const QString& path, int page);

private:
    struct Queue;
    void start();

    QSize box_;
    std::shared_ptr<Queue> queue_;
    QCache<QString, QImage> cache_;
    QFuture<void> worker_;
    int drawn_ = 0;
};

} // namespace tramix
