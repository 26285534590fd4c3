// Bringing one of the app's windows to the user: where it stood before, or in the middle of the
// screen under the pointer, in front and with the keyboard focus.
#pragma once

#include <QByteArray>

class QWidget;

namespace tramix::WindowPlace {

// Shows `window`; the first time it goes where `saved` (QWidget::saveGeometry) says, if that
// still lies on a screen, else it is centred. A window already on screen only comes to the front.
void present(QWidget* window, const QByteArray& saved = {});

} // namespace tramix::WindowPlace
