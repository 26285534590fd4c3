#include "Image/ImageConverter.h"

#include "Catalogue/OperationRegistry.h"
#include "Image/ImageFormat.h"
#include "Image/ImagePDFWriter.h"
#include "JobRunner.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"

#include <QElapsedTimer>
#include <QFile>
#include <QtEndian>
#include <gtest/gtest.h>
#include <zlib.h>

using namespace tramix;
using namespace tramix::test;
using vips::VImage;

namespace {

// A photo taken with the camera turned: stored 64×32 with red on the left, so upright it is
// 32×64 with red on top. It carries GPS, IPTC and XMP.
QString turnedPhoto(const TestFolder& dir, const QString& name = QStringLiteral("photo.jpg")) {
    const QString path = saveImage(halves(64, 32, red, blue), dir.path(name), "[Q=95]");
    exiftool({"-q", "-overwrite_original", "-Orientation#=6", "-GPSLatitude=48.1",
              "-GPSLatitudeRef=N", "-IPTC:Keywords=Urlaub", "-XMP-dc:Title=Hallo", path});
    return path;
}

// A PNG chunk: length, type, data and checksum, numbers big-endian.
QByteArray chunk(const QByteArray& type, const QByteArray& data) {
    const auto bigEndian = [](quint32 value) {
        const quint32 bytes = qToBigEndian(value);
        return QByteArray(reinterpret_cast<const char*>(&bytes), 4);
    };
    const QByteArray body = type + data;
    return bigEndian(data.size()) + body +
           bigEndian(crc32(0, reinterpret_cast<const Bytef*>(body.constData()), body.size()));
}

// A PNG whose header claims `width` × `height` pixels (8-bit RGB, or as `layout` says: bit depth,
// colour type, compression, filter and interlacing), with hardly any pixel data: only a decoder
// would find out, and a refusal from the header comes before any.
QString claimedPNG(const TestFolder& dir, const QString& name, int width, int height,
                   const QByteArray& layout = QByteArray::fromHex("0802000000")) {
    const auto bigEndian = [](quint32 value) {
        const quint32 bytes = qToBigEndian(value);
        return QByteArray(reinterpret_cast<const char*>(&bytes), 4);
    };
    return dir.file(name, QByteArray("\x89PNG\r\n\x1a\n", 8) +
                              chunk("IHDR", bigEndian(width) + bigEndian(height) + layout) +
                              chunk("IDAT", qCompress(QByteArray(64, 0)).mid(4)) +
                              chunk("IEND", {}));
}

} // namespace

TEST(ImageConverter, ConvertTurnsPixelsUprightAndKeepsGPSAndIPTC) {
    TestFolder dir;
    const QString photo = turnedPhoto(dir);
    for (const ImageFormat& format : {ImageFormat::png, ImageFormat::heic, ImageFormat::webp,
                                      ImageFormat::avif, ImageFormat::tiff, ImageFormat::jpg}) {
        SCOPED_TRACE(format.ext.toStdString());
        const QString output = ImageConverter::convert(photo, format, {});
        EXPECT_EQ(QFileInfo(output).fileName(),
                  format == ImageFormat::jpg ? "photo 2.jpg" : "photo." + format.ext);
        EXPECT_EQ(sizeOf(output), "32 x 64");
        EXPECT_TRUE(isNear(pixelAt(output, 16, 8), red));
        EXPECT_TRUE(isNear(pixelAt(output, 16, 56), blue));

        const QJsonObject tags = tagsOf(output);
        // Where the format records an orientation at all, it says "upright".
        EXPECT_EQ(tags["IFD0:Orientation"].toInt(1), 1);
        EXPECT_EQ(tags["XMP-tiff:Orientation"].toInt(1), 1);
        EXPECT_NEAR(tags["GPS:GPSLatitude"].toDouble(), 48.1, 1e-6);
        EXPECT_TRUE(tags["IPTC:Keywords"] == "Urlaub" || tags["XMP-dc:Subject"] == "Urlaub");
        EXPECT_FALSE(tags.contains("IFD1:ThumbnailOffset"));
    }
}

TEST(ImageConverter, APNGsMetadataIsReadFromItsChunksAndOneWithoutHasNone) {
    TestFolder dir;
    const QString png = ImageConverter::convert(turnedPhoto(dir), ImageFormat::png, {});
    const QJsonObject tags = tagsOf(ImageConverter::convert(png, ImageFormat::jpg, {}));
    EXPECT_NEAR(tags["GPS:GPSLatitude"].toDouble(), 48.1, 1e-6);
    EXPECT_TRUE(tags["IPTC:Keywords"] == "Urlaub" || tags["XMP-dc:Subject"] == "Urlaub");

    const QString plain = saveImage(halves(64, 32, red, blue), dir.path("plain.png"));
    const QJsonObject none = tagsOf(ImageConverter::convert(plain, ImageFormat::jpg, {}));
    EXPECT_FALSE(none.contains("GPS:GPSLatitude"));
    EXPECT_EQ(sizeOf(dir.path("plain.jpg")), "64 x 32");
}

TEST(ImageConverter, OpensEveryImageFormatThatLibvipsReads) {
    TestFolder dir;
    const VImage source = halves(48, 32, red, blue);
    QStringList inputs;
    for (const char* name : {"a.jp2", "a.gif", "a.tiff", "a.webp", "a.heic", "a.avif", "a.bmp"})
        inputs << saveImage(source, dir.path(name));
    for (const char* format : {"tga", "psd", "ico"}) {
        const QString path = dir.path(QStringLiteral("a.") + format);
        source.magicksave(QFile::encodeName(path).constData(),
                          VImage::option()->set("format", format));
        inputs << path;
    }
    for (const QString& input : inputs) {
        SCOPED_TRACE(input.toStdString());
        const QString output = ImageConverter::convert(input, ImageFormat::png, {});
        EXPECT_EQ(openImage(output).width(), 48);
        EXPECT_TRUE(isNear(pixelAt(output, 4, 16), red));
        EXPECT_TRUE(isNear(pixelAt(output, 44, 16), blue));
    }
}

TEST(ImageConverter, TransparencyIsFlattenedOntoWhiteOnlyWhereTheFormatHasNone) {
    TestFolder dir;
    const QString png =
        saveImage(halves(40, 20, {0, 0, 0, 0}, {0, 160, 0, 255}), dir.path("clear.png"));
    for (const ImageFormat& format : {ImageFormat::jpg, ImageFormat::bmp, ImageFormat::webp}) {
        SCOPED_TRACE(format.ext.toStdString());
        const QString output = ImageConverter::convert(png, format, {});
        const VImage image = openImage(output);
        EXPECT_EQ(image.has_alpha(), format.supportsAlpha);
        if (!format.supportsAlpha) {
            EXPECT_TRUE(isNear(image.getpoint(5, 10), white, 8));
        }
        EXPECT_TRUE(isNear(pixelAt(output, 35, 10), green, 24));
    }
}

TEST(ImageConverter, CompressShrinksLargeImagesChoosesTheFormatByAlphaOrRefuses) {
    TestFolder dir;
    const QString big = saveImage(photoLike(5000, 3000), dir.path("big.png"));
    const QString jpg = ImageConverter::compress(big, {});
    EXPECT_EQ(QFileInfo(jpg).fileName(), "big komprimiert.jpg");
    EXPECT_EQ(openImage(jpg).width(), 3840);
    EXPECT_LE(openImage(jpg).height(), 2304);
    EXPECT_LT(QFileInfo(jpg).size(), QFileInfo(big).size() * 3 / 4);

    const QString clear = saveImage(
        photoLike(600, 400).bandjoin(VImage::black(600, 400) + 200).cast(VIPS_FORMAT_UCHAR),
        dir.path("clear.png"));
    const QString heic = ImageConverter::compress(clear, {});
    EXPECT_EQ(QFileInfo(heic).fileName(), "clear komprimiert.heic");
    EXPECT_TRUE(openImage(heic).has_alpha());

    const QString tight =
        saveImage(photoLike(16, 16), dir.path("tight.jpg"), "[Q=10,optimize_coding,strip]");
    EXPECT_EQ(errorOf([&] { ImageConverter::compress(tight, {}); }),
              "Das Bild ist bereits optimal komprimiert.");
    EXPECT_EQ(dir.names(), QStringList({"big komprimiert.jpg", "big.png", "clear komprimiert.heic",
                                        "clear.png", "tight.jpg"}));
}

TEST(ImageConverter, WebSizeRefusesSmallImagesAndFitsLargeOnes) {
    TestFolder dir;
    const QString small = saveImage(photoLike(1920, 1080), dir.path("small.jpg"));
    EXPECT_EQ(errorOf([&] { ImageConverter::resizeForWeb(small, 1920, {}); }),
              "Das Bild ist schon höchstens 1920 px groß.");

    const QString large = saveImage(photoLike(3840, 2160), dir.path("large.jpg"));
    const QString web = ImageConverter::resizeForWeb(large, 1920, {});
    EXPECT_EQ(QFileInfo(web).fileName(), "large Web.jpg");
    EXPECT_EQ(sizeOf(web), "1920 x 1080");

    const QString clear =
        saveImage(halves(2400, 100, {0, 0, 0, 0}, {0, 160, 0, 255}), dir.path("clear.webp"));
    const QString png = ImageConverter::resizeForWeb(clear, 1920, {});
    EXPECT_EQ(QFileInfo(png).fileName(), "clear Web.png");
    EXPECT_EQ(sizeOf(png), "1920 x 80");
}

TEST(ImageConverter, StripRemovesAllMetadataButKeepsTheColourProfile) {
    TestFolder dir;
    const QString photo = turnedPhoto(dir);
    // A wide-gamut profile: dropping it would change the colours.
    const VImage p3 = halves(64, 32, red, blue)
                          .icc_transform("p3", VImage::option()->set("input_profile", "srgb"));
    for (const QString name : {"wide.jpg", "wide.png", "wide.webp"}) {
        const QString path = saveImage(p3, dir.path(name));
        exiftool({"-q", "-overwrite_original", "-tagsFromFile", photo, "-all:all", path});
    }
    for (const QString name : {"photo.jpg", "wide.jpg", "wide.png", "wide.webp"}) {
        SCOPED_TRACE(name.toStdString());
        const QString input = dir.path(name);
        ASSERT_TRUE(hasGroup(tagsOf(input), "GPS"));
        const QString output = ImageConverter::stripMetadata(input, {});
        EXPECT_EQ(QFileInfo(output).suffix(), QFileInfo(input).suffix());
        EXPECT_TRUE(QFileInfo(output).completeBaseName().endsWith(" ohne Metadaten"));
        const QJsonObject tags = tagsOf(output);
        for (const QString group : {"GPS", "ExifIFD", "IFD0", "IPTC", "XMP-dc", "XMP-x"})
            EXPECT_FALSE(hasGroup(tags, group)) << group.toStdString();
        if (name.startsWith(u"wide")) {
            EXPECT_TRUE(openImage(output).get_typeof(VIPS_META_ICC_NAME) != 0);
        }
        EXPECT_TRUE(isNear(pixelAt(output, 16, 8), red));
    }
}

TEST(ImageConverter, PDFPagesAreSizedByPixelsAndResolutionAndShowImagesUpright) {
    TestFolder dir;
    const double dotsPerMillimetre = 300 / 25.4;
    const QString print = saveImage(
        photoLike(3000, 3000)
            .copy(VImage::option()->set("xres", dotsPerMillimetre)->set("yres", dotsPerMillimetre)),
        dir.path("print.png"));
    const QString plain = saveImage(halves(200, 100, red, blue), dir.path("plain.png"));
    const QString photo = turnedPhoto(dir);
    const QString clear =
        saveImage(halves(40, 20, {0, 0, 0, 0}, {0, 160, 0, 255}), dir.path("clear.png"));
    const QString pdf = ImageConverter::makePDF({print, plain, photo, clear},
                                                tramix::NameReservation(dir.path("album.pdf")));

    EXPECT_TRUE(passesCheck(pdf));
    const QByteArray bytes = readBytes(pdf);
    EXPECT_TRUE(bytes.contains("/MediaBox [0 0 720 720]"));
    EXPECT_TRUE(bytes.contains("/MediaBox [0 0 200 100]"));
    EXPECT_TRUE(bytes.contains(readBytes(photo))) << "JPEG data is embedded as it is";

    const auto page = [&](int number) {
        return VImage::pdfload(QFile::encodeName(pdf).constData(),
                               VImage::option()->set("page", number));
    };
    EXPECT_EQ(page(0).get_int("n-pages"), 4);
    EXPECT_TRUE(isNear(page(1).getpoint(50, 50), red));
    const VImage upright = page(2);
    EXPECT_EQ(upright.width(), 32);
    EXPECT_EQ(upright.height(), 64);
    EXPECT_TRUE(isNear(upright.getpoint(16, 8), red));
    EXPECT_TRUE(isNear(upright.getpoint(16, 56), blue));
    const VImage masked =
        page(3).flatten(VImage::option()->set("background", std::vector<double>{255}));
    EXPECT_TRUE(isNear(masked.getpoint(5, 10), white, 8));
    EXPECT_TRUE(isNear(masked.getpoint(35, 10), green, 8));
}

TEST(ImageConverter, BadInputsFailAloneWithTheirSentenceAndLeaveNoFile) {
    TestFolder dir;
    // A PNG whose header claims 100,000 × 100,000 pixels, with hardly any pixel data.
    const QString bomb = dir.file(
        "bomb.png", QByteArray("\x89PNG\r\n\x1a\n", 8) +
                        chunk("IHDR", QByteArray::fromHex("000186a0000186a00802000000")) +
                        chunk("IDAT", qCompress(QByteArray(64, 0)).mid(4)) + chunk("IEND", {}));
    const QString broken = dir.file("broken.jpg", "this is no image");
    const QString good = saveImage(halves(20, 10, red, blue), dir.path("good.png"));

    const FileOperation toJPG = OperationRegistry::convertOperations({good}).first();
    ASSERT_EQ(toJPG.id, "convert.image.jpg");
    QElapsedTimer timer;
    timer.start();
    const JobResult result = JobRunner::run(toJPG, {broken, good, bomb}, {});
    EXPECT_LT(timer.elapsed(), 2000) << "the bomb is refused before it is decoded";
    EXPECT_EQ(result.outputs, QStringList{dir.path("good.jpg")});
    ASSERT_EQ(result.failures.size(), 2);
    for (const JobResult::Failure& failure : result.failures) {
        EXPECT_EQ(
            failure.message,
            failure.input == broken
                ? "„broken.jpg“ konnte nicht gelesen werden."
                : "„bomb.png“ ist mit 100000 × 100000 Pixeln zu groß (höchstens 500 Megapixel).");
    }
    // One bad image spoils a PDF of several.
    EXPECT_EQ(errorOf([&] {
                  ImageConverter::makePDF({good, broken}, NameReservation(dir.path("x.pdf")));
              }),
              "„broken.jpg“ konnte nicht gelesen werden.");
    EXPECT_EQ(dir.names(), QStringList({"bomb.png", "broken.jpg", "good.jpg", "good.png"}));
}

// Encoders that hold the whole picture get what the memory budget allows, and so do decoders
// that hold it; larger pictures are refused from the header alone.
TEST(ImageConverter, PicturesTooLargeForTheMemoryAreRefusedBeforeDecoding) {
    TestFolder dir;
    const QString big = claimedPNG(dir, "big.png", 10000, 9000);
    QElapsedTimer timer;
    timer.start();
    for (const ImageFormat& format :
         {ImageFormat::heic, ImageFormat::avif, ImageFormat::webp, ImageFormat::gif}) {
        EXPECT_EQ(errorOf([&] { ImageConverter::convert(big, format, {}); }),
                  "Das Bild ist zu groß für " + format.title + " (90 Megapixel).");
    }
    // libpng hands out interlaced pictures only whole: 16-bit RGBA takes 8 bytes a pixel.
    const QString interlaced =
        claimedPNG(dir, "interlaced.png", 22000, 22000, QByteArray::fromHex("1006000001"));
    EXPECT_EQ(errorOf([&] { ImageConverter::convert(interlaced, ImageFormat::jpg, {}); }),
              "„interlaced.png“ ist mit 22000 × 22000 Pixeln zu groß (höchstens 125 "
              "Megapixel).");
    EXPECT_LT(timer.elapsed(), 500);
    EXPECT_EQ(dir.names(), QStringList({"big.png", "interlaced.png"}));
}

// Truncated files end in rows of grey when decoded as far as they go: they are refused, unless
// only what comes after the last row is missing.
TEST(ImageConverter, TruncatedImagesAreRefusedAsIncomplete) {
    TestFolder dir;
    const VImage photo = photoLike(300, 200);
    for (const char* ext : {"jpg", "png", "gif"}) {
        const QByteArray whole =
            readBytes(saveImage(photo, dir.path(QStringLiteral("whole.") + ext)));
        for (const int percent : {10, 50, 90}) {
            const QString name = QStringLiteral("cut%1.%2").arg(percent).arg(ext);
            const QString cut = dir.file(name, whole.left(whole.size() * percent / 100));
            SCOPED_TRACE(name.toStdString());
            EXPECT_EQ(errorOf([&] { ImageConverter::convert(cut, ImageFormat::webp, {}); }),
                      "„" + name + "“ ist unvollständig.");
        }
    }
    const QByteArray png = readBytes(dir.path("whole.png"));
    const QString noEnd = dir.file("noend.png", png.left(png.size() - 12)); // without IEND
    EXPECT_EQ(sizeOf(ImageConverter::convert(noEnd, ImageFormat::jpg, {})), "300 x 200");

    // A JPEG goes into a PDF undecoded, so it is checked first.
    EXPECT_EQ(errorOf([&] {
                  ImageConverter::makePDF({dir.path("whole.png"), dir.path("cut90.jpg")},
                                          NameReservation(dir.path("album.pdf")));
              }),
              "„cut90.jpg“ ist unvollständig.");
    EXPECT_FALSE(QFileInfo::exists(dir.path("album.pdf")));
}

// Written top-down, row by row as decoded, with no library that needs the whole picture.
TEST(ImageConverter, BMPIsWrittenStreamingAndUpright) {
    TestFolder dir;
    const QString png = saveImage(halves(40, 20, red, blue).rot90(), dir.path("tall.png"));
    const QString bmp = ImageConverter::convert(png, ImageFormat::bmp, {});
    EXPECT_EQ(sizeOf(bmp), "20 x 40");
    EXPECT_TRUE(isNear(pixelAt(bmp, 10, 5), red, 0));
    EXPECT_TRUE(isNear(pixelAt(bmp, 10, 35), blue, 0));
    EXPECT_EQ(readBytes(bmp).size(), 14 + 40 + 20 * 3 * 40);
}

// Every write is checked, and its failure reads as the system's reason under the result's name.
TEST(ImageConverter, AFailedWriteNamesTheResultAndTheReason) {
    TestFolder dir;
    const QString image = saveImage(halves(20, 10, red, blue), dir.path("a.png"));
    EXPECT_EQ(errorOf([&] {
                  ImagePDFWriter writer("/dev/full", dir.path("album.pdf"));
                  writer.addPage(image);
                  writer.finish();
              }),
              "„album.pdf“ konnte nicht geschrieben werden: Der Datenträger ist voll.");
}

TEST(ImageFormat, OwnFormatOfAFileIsItsWritableExtensionElsePNG) {
    EXPECT_EQ(ImageFormat::writable(), ImageFormat::all()) << "every format writes on this machine";
    EXPECT_EQ(ImageFormat::forFile("/a/photo.JPEG"), ImageFormat::jpg);
    EXPECT_EQ(ImageFormat::forFile("/a/scan.bmp"), ImageFormat::bmp);
    EXPECT_EQ(ImageFormat::forFile("/a/x.xyz"), ImageFormat::png);
    EXPECT_EQ(ImageFormat::forFile("/a/art.psd"), ImageFormat::png);
}
