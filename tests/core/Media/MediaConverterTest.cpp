#include "Media/MediaConverter.h"

#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"
#include "JobControl.h"
#include "TestFiles.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace tramix;
using test::errorOf;
using test::TestFolder;
using test::toolOutput;

namespace {

// Clips made once for the whole suite with ffmpeg's own sources: tiny, one or two seconds.
class Media : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new TestFolder;
        auto make = [](const QString& name, const QStringList& arguments) {
            toolOutput("ffmpeg",
                       QStringList{"-v", "error", "-y"} + arguments + QStringList{path(name)});
        };
        const QStringList picture = {"-f", "lavfi", "-i",
                                     "testsrc2=size=320x240:rate=15:duration=1.5"};
        const QStringList tone = {"-f", "lavfi", "-i", "sine=frequency=440:duration=1.5"};
        make("clip.mp4", picture + tone +
                             QStringList{"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt",
                                         "yuv420p", "-c:a", "aac", "-shortest"});
        make("old.mkv",
             picture + tone + QStringList{"-c:v", "mpeg4", "-c:a", "libmp3lame", "-shortest"});
        make("odd.mkv",
             {"-f", "lavfi", "-i", "testsrc2=size=321x241:rate=15:duration=1", "-c:v", "ffv1"});
        // A phone held upright: the pixels lie on their side and a tag turns them.
        make("phone.mp4", {"-i", path("clip.mp4"), "-c", "copy", "-metadata:s:v", "rotate=90"});
        make("wide.mp4", {"-f", "lavfi", "-i", "testsrc2=size=1440x810:rate=10:duration=1", "-c:v",
                          "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"});
        make("tall.mp4", {"-i", path("wide.mp4"), "-c", "copy", "-metadata:s:v", "rotate=90"});
        make("cover.png", {"-f", "lavfi", "-i", "testsrc2=size=64x64", "-frames:v", "1"});
        // Noise, so that the encoders spend the bit rates they are given.
        const QStringList noise = {"-f", "lavfi", "-i", "anoisesrc=duration=1.5:amplitude=0.2"};
        make("song.mp3", noise + QStringList{"-i",
                                             path("cover.png"),
                                             "-map",
                                             "0",
                                             "-map",
                                             "1",
                                             "-c:a",
                                             "libmp3lame",
                                             "-b:a",
                                             "96k",
                                             "-c:v",
                                             "png",
                                             "-disposition:v",
                                             "attached_pic",
                                             "-id3v2_version",
                                             "3",
                                             "-metadata",
                                             "title=Lied",
                                             "-metadata",
                                             "artist=Anna",
                                             "-metadata",
                                             "album=Platte",
                                             "-metadata",
                                             "track=3"});
        make("deep.wav", {"-f", "lavfi", "-i", "sine=frequency=330:sample_rate=48000:duration=1",
                          "-c:a", "pcm_s24le"});
    }
    static void TearDownTestSuite() { delete folder_; }

    static QString path(const QString& name) { return folder_->path(name); }

    static QJsonObject probe(const QString& file) {
        return QJsonDocument::fromJson(
                   toolOutput("ffprobe", {"-v", "error", "-print_format", "json", "-show_format",
                                          "-show_streams", file})
                       .toUtf8())
            .object();
    }
    static QJsonObject stream(const QJsonObject& info, const QString& type) {
        for (const QJsonValue& each : info["streams"].toArray()) {
            if (each["codec_type"].toString() == type &&
                each["disposition"]["attached_pic"].toInt() == 0)
                return each.toObject();
        }
        return {};
    }
    static double duration(const QJsonObject& info) {
        return info["format"]["duration"].toString().toDouble();
    }
    // The moov box comes before the media data, so players start before the download ends.
    static bool fastStart(const QString& file) {
        const QByteArray head = test::readBytes(file).left(4096);
        return head.contains("moov") &&
               (!head.contains("mdat") || head.indexOf("moov") < head.indexOf("mdat"));
    }

    TestFolder out;
    OutputContext context() const { return OutputContext{out.path("."), 0.85}; }

private:
    static inline TestFolder* folder_ = nullptr;
};

FileOperation operation(const QString& id, const QString& input) {
    for (const FileOperation& each : OperationRegistry::toolOperations({input}) +
                                         OperationRegistry::convertOperations({input})) {
        if (each.id == id)
            return each;
    }
    ADD_FAILURE() << "no " << id.toStdString();
    return {};
}

} // namespace

TEST_F(Media, AudioKeepsTagsCoverRateAndDepth) {
    using MediaConverter::transcode;
    const QString m4a = transcode(path("song.mp3"), AudioFormat::m4a, context());
    EXPECT_TRUE(m4a.endsWith("/song.m4a"));
    const QJsonObject info = probe(m4a);
    EXPECT_EQ(stream(info, "audio")["codec_name"].toString(), "aac");
    EXPECT_NEAR(stream(info, "audio")["bit_rate"].toString().toDouble(), 192000, 35000);
    EXPECT_NEAR(duration(info), 1.5, 0.1);
    EXPECT_EQ(info["format"]["tags"]["title"].toString(), "Lied");
    EXPECT_EQ(info["format"]["tags"]["artist"].toString(), "Anna");
    EXPECT_EQ(info["format"]["tags"]["album"].toString(), "Platte");
    EXPECT_TRUE(info["format"]["tags"]["track"].toString().startsWith("3"));
    EXPECT_EQ(info["streams"].toArray().size(), 2) << "the cover art";

    const QJsonObject mp3 = probe(transcode(path("song.mp3"), AudioFormat::mp3, context()));
    EXPECT_EQ(stream(mp3, "audio")["codec_name"].toString(), "mp3");
    EXPECT_EQ(mp3["format"]["tags"]["album"].toString(), "Platte");

    // PCM at the source's rate: 16 bits from a lossy source, the source's 24 from a deep one.
    const QJsonObject wav = probe(transcode(path("song.mp3"), AudioFormat::wav, context()));
    EXPECT_EQ(stream(wav, "audio")["codec_name"].toString(), "pcm_s16le");
    EXPECT_EQ(stream(wav, "audio")["sample_rate"].toString(), "48000");
    EXPECT_EQ(wav["format"]["tags"]["title"].toString(), "Lied");
    const QJsonObject aiff = probe(transcode(path("deep.wav"), AudioFormat::aiff, context()));
    EXPECT_EQ(stream(aiff, "audio")["codec_name"].toString(), "pcm_s24be");
    EXPECT_EQ(stream(aiff, "audio")["sample_rate"].toString(), "48000");
    const QJsonObject flac = probe(transcode(path("deep.wav"), AudioFormat::flac, context()));
    EXPECT_EQ(stream(flac, "audio")["codec_name"].toString(), "flac");
    EXPECT_EQ(stream(flac, "audio")["bits_per_raw_sample"].toString(), "24");
    EXPECT_NEAR(duration(flac), 1.0, 0.1);

    // Compressing what is already smaller than 128 kbit/s is refused and leaves nothing.
    const QStringList before = out.names();
    const QString song = path("song.mp3");
    EXPECT_EQ(errorOf([&] { operation("tool.audio.compress", song).perform({song}, context()); }),
              "Die Audiodatei ist bereits optimal komprimiert.");
    EXPECT_EQ(out.names(), before);
}

TEST_F(Media, VideosAreRemuxedWhenTheyFitAndEncodedUprightAndEvenOtherwise) {
    using MediaConverter::exportVideo;
    using MediaConverter::VideoPreset;
    const QString mov = exportVideo(path("clip.mp4"), VideoPreset::mov, context());
    EXPECT_TRUE(mov.endsWith("/clip.mov"));
    const QJsonObject copied = probe(mov);
    EXPECT_EQ(stream(copied, "video")["codec_name"].toString(), "h264");
    // Remuxed, not encoded again: the encoder's own settings survive in the stream.
    EXPECT_EQ(stream(copied, "video")["bit_rate"],
              stream(probe(path("clip.mp4")), "video")["bit_rate"]);
    EXPECT_TRUE(fastStart(mov));

    const QString mp4 = exportVideo(path("old.mkv"), VideoPreset::mp4, context());
    const QJsonObject encoded = probe(mp4);
    EXPECT_EQ(stream(encoded, "video")["codec_name"].toString(), "h264");
    EXPECT_EQ(stream(encoded, "video")["pix_fmt"].toString(), "yuv420p");
    EXPECT_EQ(stream(encoded, "audio")["codec_name"].toString(), "aac");
    EXPECT_NEAR(duration(encoded), 1.5, 0.1);
    EXPECT_TRUE(fastStart(mp4));

    const QJsonObject even = probe(exportVideo(path("odd.mkv"), VideoPreset::mp4, context()));
    EXPECT_EQ(stream(even, "video")["width"].toInt(), 320);
    EXPECT_EQ(stream(even, "video")["height"].toInt(), 240);
    EXPECT_TRUE(stream(even, "audio").isEmpty());

    const QString hevc = exportVideo(path("phone.mp4"), VideoPreset::hevc, context());
    EXPECT_TRUE(hevc.endsWith("/phone komprimiert.mp4"));
    const QJsonObject upright = probe(hevc);
    EXPECT_EQ(stream(upright, "video")["codec_name"].toString(), "hevc");
    EXPECT_EQ(stream(upright, "video")["codec_tag_string"].toString(), "hvc1");
    EXPECT_EQ(stream(upright, "video")["width"].toInt(), 240);
    EXPECT_EQ(stream(upright, "video")["height"].toInt(), 320);
    EXPECT_FALSE(stream(upright, "video").contains("side_data_list"));
    EXPECT_EQ(stream(upright, "audio")["codec_name"].toString(), "aac");

    // Portrait stays portrait inside 720 × 1280; a small clip is never enlarged.
    const QString small = exportVideo(path("tall.mp4"), VideoPreset::p720, context());
    EXPECT_TRUE(small.endsWith("/tall 720p.mp4"));
    const QJsonObject portrait = probe(small);
    EXPECT_EQ(stream(portrait, "video")["width"].toInt(), 720);
    EXPECT_EQ(stream(portrait, "video")["height"].toInt(), 1280);
    EXPECT_EQ(stream(portrait, "video")["profile"].toString(), "High");
    EXPECT_TRUE(fastStart(small));
    const QJsonObject tiny = probe(exportVideo(path("clip.mp4"), VideoPreset::p720, context()));
    EXPECT_EQ(stream(tiny, "video")["width"].toInt(), 320);
}

TEST_F(Media, GIFStillSoundTrackAndSilence) {
    const QJsonObject gif = probe(MediaConverter::videoToGIF(path("clip.mp4"), context()));
    EXPECT_EQ(stream(gif, "video")["codec_name"].toString(), "gif");
    EXPECT_EQ(stream(gif, "video")["width"].toInt(), 320);
    EXPECT_NEAR(duration(gif), 1.5, 0.15);

    const QString still = MediaConverter::stillFrame(path("phone.mp4"), context());
    EXPECT_TRUE(still.endsWith("/phone Standbild.jpg"));
    const QJsonObject frame = probe(still);
    EXPECT_EQ(stream(frame, "video")["codec_name"].toString(), "mjpeg");
    EXPECT_EQ(stream(frame, "video")["width"].toInt(), 240);
    EXPECT_EQ(stream(frame, "video")["height"].toInt(), 320);

    const QString mute = MediaConverter::removeAudio(path("clip.mp4"), context());
    EXPECT_TRUE(mute.endsWith("/clip ohne Ton.mp4"));
    EXPECT_TRUE(stream(probe(mute), "audio").isEmpty());
    EXPECT_EQ(stream(probe(mute), "video")["codec_name"].toString(), "h264");

    const QJsonObject sound = probe(MediaConverter::extractAudio(path("old.mkv"), context()));
    EXPECT_EQ(stream(sound, "audio")["codec_name"].toString(), "aac");
    EXPECT_TRUE(stream(sound, "video").isEmpty());
    EXPECT_EQ(errorOf([&] { MediaConverter::extractAudio(path("odd.mkv"), context()); }),
              "Das Video hat keine Tonspur.");
}

TEST_F(Media, BadInputsGetASentenceAndCancelLeavesNothing) {
    const QString text = out.file("Notiz.mp4", "kein Video");
    const QByteArray whole = test::readBytes(path("clip.mp4"));
    const QString cut = out.file("Halb.mp4", whole.left(whole.size() / 2));
    const QStringList before = out.names();
    EXPECT_EQ(errorOf([&] { MediaConverter::stillFrame(text, context()); }),
              "„Notiz.mp4“ ist keine lesbare Audio- oder Videodatei.");
    EXPECT_TRUE(errorOf([&] {
                    MediaConverter::exportVideo(cut, MediaConverter::VideoPreset::mp4, context());
                }).contains("„Halb.mp4“"));
    EXPECT_EQ(
        errorOf([&] { MediaConverter::transcode(path("odd.mkv"), AudioFormat::mp3, context()); }),
        "„odd.mkv“ enthält keine Tonspur.");
    EXPECT_EQ(out.names(), before);

    // A long encode stops within the grace time of the cancel, and no partial file remains.
    const QString longClip = out.path("lang.mkv");
    toolOutput("ffmpeg",
               {"-v", "error", "-f", "lavfi", "-i", "testsrc2=size=640x360:rate=25:duration=60",
                "-c:v", "mpeg4", "-q:v", "10", longClip});
    const QStringList withClip = out.names();
    auto control = std::make_shared<JobControl>();
    OutputContext watched = context();
    watched.control = control;
    std::atomic<double> reached = 0;
    watched.fileProgress = [&](double fraction) { reached = fraction; };
    QString error;
    std::thread job([&] {
        error = errorOf([&] {
            MediaConverter::exportVideo(longClip, MediaConverter::VideoPreset::hevc, watched);
        });
    });
    QElapsedTimer clock;
    clock.start();
    while (reached == 0 && clock.elapsed() < 30'000)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_GT(reached, 0) << "progress before the end";
    EXPECT_LT(reached, 1);
    clock.restart();
    control->cancel();
    job.join();
    EXPECT_LT(clock.elapsed(), 4'500);
    EXPECT_EQ(error, "Abgebrochen.");
    EXPECT_EQ(out.names(), withClip);
}
