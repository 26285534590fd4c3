// The crop editor's window content: the canvas, the aspect choice, quarter turns, the result's
// size, the position in a batch, and skip, cancel and save. Enter saves, Escape cancels, R turns
// right and Shift+R left.
#pragma once

#include "CropModel.h"

#include <QButtonGroup>
#include <QWidget>
#include <optional>

class QLabel;
class QPushButton;

namespace tramix {

class CropCanvas;

class CropEditorView : public QWidget {
    Q_OBJECT
public:
    // Light or dark as `dark` says; without it, as the application's palette is, following it.
    explicit CropEditorView(CropModel& model, std::optional<bool> dark = std::nullopt,
                            QWidget* parent = nullptr);

    CropCanvas& canvas() { return *canvas_; }

Q_SIGNALS:
    void cancelled();

protected:
    void changeEvent(QEvent* event) override;

private:
    void refresh();
    void applyTheme(bool dark);

    CropModel& model_;
    CropCanvas* canvas_;
    QButtonGroup aspects_;
    QLabel* name_;
    QLabel* progress_;
    QLabel* size_;
    QLabel* error_;
    QPushButton* turnLeft_;
    QPushButton* turnRight_;
    QPushButton* skip_;
    QPushButton* cancel_;
    QPushButton* save_;
    bool fixedScheme_ = false;
};

} // namespace tramix
