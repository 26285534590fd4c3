// The pictures that present Tramix outside the app: a meadow scene with the wheel open over a
// dragged file, the card that links show, and the banner of its software-centre page. They are
// drawn with the app's own wheel, icon and fonts, so they never fall behind the app.
#pragma once

#include <QImage>
#include <QSize>

namespace tramix::Artwork {

constexpr QSize sceneSize{1600, 1000};
constexpr QSize cardSize{1200, 630};
constexpr QSize bannerSize{1600, 480};

QImage scene();
QImage socialCard();
QImage banner();

} // namespace tramix::Artwork
