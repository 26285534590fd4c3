// The backdrop editor's logic: the dropped images one after another, a style chosen for them,
// a live preview rendered off the interface thread from a small copy of the current image, and
// each image written through Backdrop::render, one at a time or all at once.
#pragma once

#include "Image/BackdropStyle.h"
#include "OutputContext.h"

#include <QImage>
#include <QObject>
#include <QStringList>
#include <functional>
#include <optional>
#include <vips/vips8>

namespace tramix {

class BackdropModel : public QObject {
    Q_OBJECT
public:
    // Longest edge of the image the preview is rendered from.
    static constexpr int previewEdge = 1600;

    // Starts with the style used last and loads the first image's preview.
    BackdropModel(QStringList urls, std::function<OutputContext()> context,
                  QObject* parent = nullptr);
    ~BackdropModel() override;

    const QStringList& urls() const { return urls_; }
    int index() const { return index_; }
    const BackdropStyle& style() const { return style_; }
    // The current image with the current style, once rendered.
    const QImage& preview() const { return preview_; }
    bool loading() const { return loading_; }
    bool saving() const { return saving_; }
    const std::optional<QString>& error() const { return error_; }
    const QStringList& outputs() const { return outputs_; }
    bool finished() const { return index_ >= urls_.size(); }
    // "Bild 2 von 3"; none for a single image.
    std::optional<QString> progress() const;
    // Preview renderings so far, and how long the last one took.
    int renderings() const { return renderings_; }
    double lastRenderMs() const { return lastRenderMs_; }

    // Called once, when the last image is saved or skipped, with the files written.
    std::function<void(const QStringList& outputs)> onFinish;

    // Takes `style` for this and the following images and remembers it for the next session;
    // the preview is rendered again only when the style changed.
    void setStyle(const BackdropStyle& style);
    // Writes the current image, then goes on.
    void save();
    // Writes the current image and every one after it, stopping at the first that fails.
    void saveAll();
    // Goes on without writing the current image.
    void next();

Q_SIGNALS:
    void changed();

private:
    void load();
    void renderPreview();
    void saveFrom(int index, bool all);

    QStringList urls_;
    std::function<OutputContext()> context_;
    int index_ = 0;
    BackdropStyle style_;
    std::optional<vips::VImage> base_;
    QImage preview_;
    std::optional<BackdropStyle> rendered_; // the style `preview_` shows
    bool rendering_ = false;
    bool loading_ = false;
    bool saving_ = false;
    std::optional<QString> error_;
    QStringList outputs_;
    int renderings_ = 0;
    double lastRenderMs_ = 0;
    quint64 generation_ = 0;
};

} // namespace tramix
