// The backdrop editor's window content: the live preview on the left; on the right the fills
// (the eight gradients, solid colours and none), sliders for margin, corners and shadow, the
// canvas format; below, the position in a batch and skip, cancel, apply to all and save.
// Enter saves, Escape cancels.
#pragma once

#include "BackdropModel.h"

#include <QButtonGroup>
#include <QList>
#include <QWidget>
#include <optional>

class QLabel;
class QPushButton;
class QSlider;

namespace tramix {

class BackdropEditorView : public QWidget {
    Q_OBJECT
public:
    // Light or dark as `dark` says; without it, as the application's palette is, following it.
    explicit BackdropEditorView(BackdropModel& model, std::optional<bool> dark = std::nullopt,
                                QWidget* parent = nullptr);

    // The fills offered, in the order of their swatches.
    static QList<BackdropStyle::Fill> fills();
    // The canvas formats offered: free, 1:1, 4:3, 16:9, 9:16.
    static QList<std::optional<double>> aspects();

Q_SIGNALS:
    void cancelled();

protected:
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    void applyTheme(bool dark);
    void choose(const std::function<void(BackdropStyle&)>& change);
    QSlider* slider(int most, const QString& name);

    BackdropModel& model_;
    class PreviewArea* preview_;
    QButtonGroup swatches_;
    QButtonGroup formats_;
    QSlider* padding_;
    QSlider* corners_;
    QSlider* shadow_;
    QLabel* name_;
    QLabel* progress_;
    QLabel* error_;
    QPushButton* skip_;
    QPushButton* cancel_;
    QPushButton* all_;
    QPushButton* save_;
    QList<QLabel*> captions_;
    bool fixedScheme_ = false;
};

} // namespace tramix
