#include "Image/SubjectCutOut.h"

#include "OutputContext.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "Text/VisionTools.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>
#include <QRect>
#include <algorithm>
#include <gtest/gtest.h>
#include <mutex>

using namespace tramix;
using namespace tramix::test;
using vips::VImage;

namespace {

const QString skimageData = "/usr/lib/python3/dist-packages/skimage/data/";
const QString matplotlibData = "/usr/share/matplotlib/mpl-data/sample_data/";

// A photo that Debian ships, with a coarse box around its subject and a point inside it, as a
// person would mark them.
struct Photo {
    QString path;
    QRect subject;
    QPoint inside;
};

double overlap(const QRect& a, const QRect& b) {
    const QRect both = a.intersected(b);
    const double shared = double(both.width()) * both.height();
    return shared / (double(a.width()) * a.height() + double(b.width()) * b.height() - shared);
}

// The box around the pixels that are more opaque than not.
QRect opaqueBox(const VImage& alpha) {
    int top = 0, width = 0, height = 0;
    const int left = (alpha > 127)
                         .find_trim(&top, &width, &height,
                                    VImage::option()->set("background", std::vector<double>{0}));
    return QRect(left, top, width, height);
}

int alphaAt(const VImage& image, int x, int y) {
    return int(image.getpoint(x, y).back());
}

// A red disc on green whose rim blends over six pixels, as fur or hair does.
VImage discOnGreen(int width, int height, int radius) {
    const VImage xy = VImage::xyz(width, height) - std::vector<double>{width / 2.0, height / 2.0};
    const VImage distance = (xy[0] * xy[0] + xy[1] * xy[1]).pow(0.5);
    const VImage cover = (distance < radius).gaussblur(2).linear(1.0 / 255, 0);
    return (cover * Colour{255, 0, 0} + (1 - cover) * Colour{0, 160, 0}).cast(VIPS_FORMAT_UCHAR);
}

// A network's coarse answer for that disc (`radius` in the picture's pixels): blurred over a few
// of its pixels, in a square of its own that stands for the whole picture.
VImage coarseDisc(const VImage& picture, int radius, int edge) {
    const VImage xy = VImage::xyz(edge, edge) - std::vector<double>{edge / 2.0, edge / 2.0};
    const VImage dx = xy[0] * (double(picture.width()) / edge);
    const VImage dy = xy[1] * (double(picture.height()) / edge);
    const VImage distance = (dx * dx + dy * dy).pow(0.5);
    return (distance < radius).gaussblur(2).linear(1.0 / 255, 0).cast(VIPS_FORMAT_FLOAT);
}

QString runCutOut(const QString& photo, const QString& dependencies) {
    QProcess tramix;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TRAMIX_DEPENDENCIES", dependencies);
    environment.insert("LANGUAGE", "de");
    tramix.setProcessEnvironment(environment);
    tramix.setProcessChannelMode(QProcess::MergedChannels);
    tramix.start(TRAMIX_BINARY, {"--run", "tool.image.cutout", photo});
    EXPECT_TRUE(tramix.waitForFinished(60000));
    return QString::fromUtf8(tramix.readAll());
}

} // namespace

TEST(SubjectCutOut, RealPhotosKeepTheirSubjectOnTransparencyWithoutMetadata) {
    TestFolder dir;
    const QList<Photo> photos{
        {skimageData + "astronaut.png", QRect(20, 15, 492, 497), QPoint(230, 120)},
        {skimageData + "chelsea.png", QRect(0, 0, 400, 300), QPoint(200, 150)},
        {skimageData + "coffee.png", QRect(75, 20, 405, 370), QPoint(280, 300)},
        {matplotlibData + "grace_hopper.jpg", QRect(10, 20, 502, 580), QPoint(260, 200)},
    };
    std::mutex told;
    QList<double> fractions;
    OutputContext context;
    context.fileProgress = [&](double fraction) {
        std::lock_guard lock(told);
        fractions.append(fraction);
    };
    for (const Photo& photo : photos) {
        const QString name = QFileInfo(photo.path).fileName();
        const QString input = dir.path(name);
        ASSERT_TRUE(QFile::copy(photo.path, input)) << photo.path.toStdString();
        exiftool({"-q", "-overwrite_original", "-GPSLatitude=48.1", "-GPSLatitudeRef=N",
                  "-Artist=Fotograf", input});
        fractions.clear();
        const QString written = VisionTools::removeBackground(input, context);
        SCOPED_TRACE(name.toStdString());

        EXPECT_EQ(QFileInfo(written).fileName(),
                  QFileInfo(photo.path).completeBaseName() + " freigestellt.png");
        EXPECT_EQ(sizeOf(written), sizeOf(photo.path));
        const VImage cutOut = openImage(written);
        ASSERT_EQ(cutOut.bands(), 4);
        EXPECT_LT(alphaAt(cutOut, 0, 0), 8);
        EXPECT_LT(alphaAt(cutOut, cutOut.width() - 1, 0), 8);
        EXPECT_GT(alphaAt(cutOut, photo.inside.x(), photo.inside.y()), 240);
        const QRect found = opaqueBox(cutOut[3]);
        EXPECT_GE(overlap(found, photo.subject), 0.9)
            << "subject found at " << found.x() << "," << found.y() << " " << found.width() << "x"
            << found.height();

        const QJsonObject tags = tagsOf(written);
        EXPECT_FALSE(hasGroup(tags, "GPS") || hasGroup(tags, "IFD0") || hasGroup(tags, "ExifIFD"))
            << QJsonDocument(tags).toJson().toStdString();
        // The few seconds it takes are shown as progress that only rises.
        ASSERT_GE(fractions.size(), 3);
        EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
        EXPECT_GE(fractions.back(), 0.8);
    }
}

TEST(SubjectCutOut, SkyAndBrokenFilesWriteNothing) {
    TestFolder dir;
    // A clear sky: a gradient from pale to deep blue with a little sensor noise.
    const VImage y = VImage::xyz(1200, 900)[1];
    const VImage sky =
        y.linear(std::vector<double>{-0.05, -0.06, -0.02}, std::vector<double>{140, 200, 250}) +
        VImage::gaussnoise(1200, 900, VImage::option()->set("sigma", 3)->set("mean", 0));
    const QString skyPhoto = saveImage(sky.cast(VIPS_FORMAT_UCHAR), dir.path("Himmel.jpg"));
    EXPECT_EQ(errorOf([&] { VisionTools::removeBackground(skyPhoto, {}); }),
              "Kein Motiv zum Freistellen gefunden.");

    const QString broken = dir.file("kaputt.jpg", "\xFF\xD8\xFF\xE0 nothing more");
    EXPECT_EQ(errorOf([&] { VisionTools::removeBackground(broken, {}); }),
              "„kaputt.jpg“ konnte nicht gelesen werden.");
    EXPECT_EQ(dir.names(), QStringList({"Himmel.jpg", "kaputt.jpg"}));
}

TEST(SubjectCutOut, EdgesFollowThePictureAndLoseTheOldBackgroundColour) {
    TestFolder dir;
    constexpr int width = 600, height = 400, radius = 120;
    const QString picture = saveImage(discOnGreen(width, height, radius), dir.path("Scheibe.png"));
    int asked = 0;
    const SubjectCutOut::Likelihood standIn = [&](const VImage& work,
                                                  const SubjectCutOut::Progress&) {
        ++asked;
        return coarseDisc(work, radius * work.width() / width, 208);
    };
    const VImage cutOut = SubjectCutOut::cutOut(picture, openImage(picture), standIn).copy_memory();
    EXPECT_EQ(asked, 1);
    ASSERT_EQ(cutOut.width(), width);
    ASSERT_EQ(cutOut.bands(), 4);

    // Along the row through the centre: opaque inside, transparent outside, and the rim where
    // the picture has it, within a few pixels, however blurred the network's answer was.
    const int cy = height / 2, rim = width / 2 + radius;
    EXPECT_EQ(alphaAt(cutOut, width / 2, cy), 255);
    EXPECT_EQ(alphaAt(cutOut, 5, 5), 0);
    EXPECT_GT(alphaAt(cutOut, rim - 5, cy), 200);
    EXPECT_LT(alphaAt(cutOut, rim + 5, cy), 55);
    // The blended rim keeps the subject's red without the old background's green.
    for (int x = rim - 4; x <= rim + 4; ++x) {
        const std::vector<double> pixel = cutOut.getpoint(x, cy);
        if (pixel[3] < 40 || pixel[3] > 215)
            continue;
        EXPECT_GT(pixel[0], 200) << "at " << x;
        EXPECT_LT(pixel[1], 40) << "at " << x;
    }
    // Fully transparent pixels carry no colour.
    EXPECT_EQ(cutOut.getpoint(5, 5), (std::vector<double>{0, 0, 0, 0}));
}

TEST(SubjectCutOut, AMissingOrDamagedModelSaysHowToRestoreIt) {
    TestFolder dir;
    const QString photo = saveImage(photoLike(200, 150), dir.path("Foto.jpg"));
    const QString empty = dir.folder("leer");
    EXPECT_TRUE(runCutOut(photo, empty)
                    .contains("Das Modell zum Freistellen fehlt (" + empty +
                              "/subject-model/isnet-832.onnx). „scripts/setup“ richtet es ein."));

    dir.file("kaputt/subject-model/isnet-832.onnx", QByteArray(4096, '\x17'));
    EXPECT_TRUE(runCutOut(photo, dir.path("kaputt"))
                    .contains("Das Modell zum Freistellen ist beschädigt ("))
        << "damaged";
    EXPECT_EQ(dir.names(), QStringList({"Foto.jpg", "kaputt", "leer"}));
}
