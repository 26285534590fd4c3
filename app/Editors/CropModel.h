// The crop editor's logic: one image after another, each previewed, framed, turned and written
// through ImageEditing::crop off the interface thread. The view only shows it and turns
// gestures into its calls; every coordinate here is normalised to the turned image.
#pragma once

#include "CropAspect.h"
#include "OutputContext.h"

#include <QImage>
#include <QObject>
#include <QRectF>
#include <QSizeF>
#include <QStringList>
#include <functional>
#include <optional>
#include <vips/vips8>

namespace tramix {

class CropModel : public QObject {
    Q_OBJECT
public:
    enum class Corner { topLeft, topRight, bottomLeft, bottomRight };

    // Longest edge of the preview that the editor works on.
    static constexpr int previewEdge = 1600;
    // The smallest frame a corner drag leaves, as a fraction of each side.
    static constexpr double minimumSide = 0.04;

    // Loads the first image at once. `context` says where results go, asked at each save.
    CropModel(QStringList urls, std::function<OutputContext()> context, QObject* parent = nullptr);
    ~CropModel() override;

    const QStringList& urls() const { return urls_; }
    int index() const { return index_; }
    const QImage& preview() const { return preview_; }
    QSizeF pixelSize() const { return pixelSize_; }
    QRectF rect() const { return rect_; }
    CropAspect aspect() const { return aspect_; }
    int quarterTurns() const { return quarterTurns_; }
    bool busy() const { return busy_; }
    const std::optional<QString>& error() const { return error_; }
    const QStringList& outputs() const { return outputs_; }
    bool finished() const { return index_ >= urls_.size(); }

    // "Bild 2 von 3"; none for a single image.
    std::optional<QString> progress() const;
    // The result's size in whole pixels.
    QSize cropPixels() const;
    // The aspect's ratio in normalised coordinates; none for `free`.
    std::optional<double> normalisedRatio() const;

    // Called once, when the last image is saved or skipped, with the files written.
    std::function<void(const QStringList& outputs)> onFinish;

    // Holds the frame to `aspect`: the largest centred frame of that shape.
    void setAspect(CropAspect aspect);
    // The frame `start` moved by (dx, dy), kept inside the image.
    void move(const QRectF& start, QPointF offset);
    // The frame `start` with `corner` dragged by (dx, dy); the opposite corner stays.
    void resize(const QRectF& start, Corner corner, QPointF offset);
    // Adds `turns` clockwise quarter turns (negative: anticlockwise) and resets the frame.
    void turn(int turns);
    // Crops and turns the current image into a new file, then goes on; ignored while busy.
    void save();
    // Goes on to the next image without saving this one, or finishes.
    void next();

Q_SIGNALS:
    // Any of the shown fields changed.
    void changed();

private:
    void load();
    void applyRotation();
    void setBusy(bool busy);

    QStringList urls_;
    std::function<OutputContext()> context_;
    int index_ = 0;
    QImage preview_;
    QSizeF pixelSize_;
    QRectF rect_{0, 0, 1, 1};
    CropAspect aspect_ = CropAspect::free;
    int quarterTurns_ = 0;
    bool busy_ = false;
    std::optional<QString> error_;
    std::optional<vips::VImage> basePreview_;
    QSizeF baseSize_;
    QStringList outputs_;
    quint64 generation_ = 0; // the image a background result belongs to
};

} // namespace tramix
