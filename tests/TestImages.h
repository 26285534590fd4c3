// Images that tests draw for themselves, and their metadata as exiftool, a user's tool, sees it.
#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <vips/vips8>

namespace tramix::test {

using Colour = std::vector<double>;
const Colour red{255, 0, 0}, blue{0, 0, 255}, green{0, 160, 0}, white{255, 255, 255};

// Left half one colour, right half the other; with four-band colours it has alpha.
vips::VImage halves(int width, int height, const Colour& left, const Colour& right);

// Noise over a gradient: compresses like a photo, not like a flat drawing.
vips::VImage photoLike(int width, int height);

// Black text on white at `dpi`, set in DejaVu Sans at 12 points with a wide white margin; lines
// parted by "\n".
vips::VImage textImage(const QString& text, int dpi = 300);

vips::VImage openImage(const QString& path);
// "32 x 64": the width and height of the image in the file.
QString sizeOf(const QString& path);

// Writes with libvips; `options` as libvips takes them after the name, e.g. "[Q=90]".
QString saveImage(const vips::VImage& image, const QString& path, const QString& options = {});

// Runs exiftool with `arguments`; fails the test when it cannot run.
QString exiftool(const QStringList& arguments);

// Every tag of the file, keyed "Group:Tag" with numeric values.
QJsonObject tagsOf(const QString& path);

// True when some tag of the group is present ("GPS", "IPTC", "XMP-dc", "ExifIFD", "IFD0"...).
bool hasGroup(const QJsonObject& tags, const QString& group);

// The pixel at (x, y) of the image in the file, as 8-bit sRGB.
Colour pixelAt(const QString& path, int x, int y);

// Whether every channel is within `tolerance`; lossy formats move colours a little.
bool isNear(const Colour& actual, const Colour& expected, double tolerance = 48);

} // namespace tramix::test
