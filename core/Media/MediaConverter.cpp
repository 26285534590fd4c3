#include "MediaConverter.h"

#include "AtomicFile.h"
#include "ConversionError.h"
#include "FFmpegRun.h"
#include "FileKind.h"
#include "MediaProbe.h"

#include <QFileInfo>
#include <QHash>
#include <algorithm>
#include <cmath>

namespace tramix::MediaConverter {

namespace {

using FFmpegRun::Load;

constexpr double gifSeconds = 10;
constexpr double gifMaxRate = 15;
constexpr int gifMaxWidth = 640;
constexpr double shortVideo = 2; // seconds; shorter videos give their first frame as still

// ffmpeg reads "name:rest" as a protocol; our paths are files, whatever their names hold.
QString file(const QString& path) {
    return QStringLiteral("file:") + path;
}

QString nameOf(const QString& path) {
    return QFileInfo(path).fileName();
}

const QStringList evenSize = {"-vf", "scale=trunc(iw/2)*2:trunc(ih/2)*2"};

// Fits into 1280×720 turned the way the picture is, never enlarges, and keeps both edges even.
const QString smallSize = QStringLiteral(
    "scale=w='if(gte(iw,ih),min(1280,iw),min(720,iw))':h='if(gte(iw,ih),min(720,ih),min(1280,ih))'"
    ":force_original_aspect_ratio=decrease:force_divisible_by=2");

MediaProbe probeVideo(const QString& input) {
    MediaProbe probe = MediaProbe::of(input);
    if (!probe.video)
        throw ConversionError::failed(
            QStringLiteral("„%1“ enthält kein Video.").arg(nameOf(input)));
    return probe;
}

MediaProbe probeAudio(const QString& input) {
    MediaProbe probe = MediaProbe::of(input);
    if (!probe.audio)
        throw ConversionError::failed(
            QStringLiteral("„%1“ enthält keine Tonspur.").arg(nameOf(input)));
    return probe;
}

// Writes one result through ffmpeg into its reserved name; `output` ends the argument list.
QString produce(NameReservation destination, const QString& input, QStringList arguments,
                double duration, const OutputContext& context, Load load) {
    return AtomicFile::write(std::move(destination), [&](const QString& temporary) {
        FFmpegRun::run(QStringList{"-i", file(input)} + arguments + QStringList{file(temporary)},
                       duration, nameOf(input), context, load);
    });
}

QString pcmCodec(const MediaProbe::Audio& audio, bool bigEndian) {
    const int bits = audio.bits > 16 ? (audio.bits > 24 ? 32 : 24) : 16;
    return QStringLiteral("pcm_s%1%2").arg(bits).arg(bigEndian ? "be" : "le");
}

// Tags and cover art, as far as the container keeps them.
QStringList tagArguments(const MediaProbe& probe, bool keepsCover) {
    QStringList arguments = {"-map", "0:a:0"};
    if (keepsCover && probe.hasCover)
        arguments += {"-map", "0:v:0", "-c:v", "copy", "-disposition:v:0", "attached_pic"};
    if (probe.tagsOnStream)
        arguments += {"-map_metadata", "0:s:a:0"};
    return arguments;
}

QStringList audioArguments(const AudioFormat& format, const MediaProbe& probe) {
    if (format == AudioFormat::m4a)
        return tagArguments(probe, true) +
               QStringList{"-c:a", "aac", "-b:a", "192k", "-movflags", "+faststart", "-f", "ipod"};
    if (format == AudioFormat::mp3)
        return tagArguments(probe, true) +
               QStringList{"-c:a", "libmp3lame", "-q:a", "2", "-id3v2_version", "3", "-f", "mp3"};
    if (format == AudioFormat::wav)
        return tagArguments(probe, false) +
               QStringList{"-c:a", pcmCodec(*probe.audio, false), "-f", "wav"};
    if (format == AudioFormat::aiff)
        return tagArguments(probe, false) +
               QStringList{"-c:a", pcmCodec(*probe.audio, true), "-write_id3v2", "1", "-f", "aiff"};
    // FLAC keeps a lossless source's depth; anything decoded from a lossy one is 16 bits.
    const bool deep = probe.audio->bits > 16;
    return tagArguments(probe, true) +
           QStringList{"-c:a", "flac", "-sample_fmt", deep ? "s32" : "s16", "-f", "flac"};
}

bool fitsMP4(const MediaProbe& probe) {
    const QString& codec = probe.video->codec;
    return (codec == u"h264" || codec == u"hevc") && (!probe.audio || probe.onlyAAC);
}

QStringList exportArguments(VideoPreset preset, const MediaProbe& probe, Load& load) {
    const QStringList streams = {"-map", "0:v:0", "-map", "0:a:0?", "-fps_mode", "vfr"};
    const QStringList end = {"-movflags", "+faststart"};
    load = Load::videoEncode;
    switch (preset) {
    case VideoPreset::mp4:
    case VideoPreset::mov: {
        const QString muxer = preset == VideoPreset::mp4 ? "mp4" : "mov";
        if (fitsMP4(probe)) {
            load = Load::light;
            QStringList copy = {"-map", "0:v:0", "-map", "0:a?", "-c", "copy"};
            if (probe.video->codec == u"hevc")
                copy += {"-tag:v", "hvc1"};
            return copy + end + QStringList{"-f", muxer};
        }
        return streams + evenSize +
               QStringList{"-c:v",     "libx264", "-preset", "medium", "-crf", "20",
                           "-pix_fmt", "yuv420p", "-c:a",    "aac",    "-b:a", "160k"} +
               end + QStringList{"-f", muxer};
    }
    case VideoPreset::hevc:
        return streams + evenSize +
               QStringList{"-c:v",   "libx265", "-preset",      "superfast",
                           "-crf",   "26",      "-x265-params", "log-level=error",
                           "-tag:v", "hvc1",    "-pix_fmt",     "yuv420p",
                           "-c:a",   "aac",     "-b:a",         "128k"} +
               end + QStringList{"-f", "mp4"};
    case VideoPreset::p720:
        return streams + QStringList{"-vf", smallSize} +
               QStringList{"-c:v",     "libx264", "-profile:v", "high",     "-preset",
                           "veryfast", "-crf",    "26",         "-pix_fmt", "yuv420p",
                           "-c:a",     "aac",     "-b:a",       "128k"} +
               end + QStringList{"-f", "mp4"};
    }
    return {};
}

QString exportSuffix(VideoPreset preset) {
    switch (preset) {
    case VideoPreset::hevc:
        return QStringLiteral("komprimiert");
    case VideoPreset::p720:
        return QStringLiteral("720p");
    default:
        return {};
    }
}

} // namespace

QString muxerFor(const QString& ext) {
    static const QHash<QString, QString> muxers = {
        {"mp4", "mp4"},   {"m4v", "mp4"}, {"mov", "mov"}, {"3gp", "3gp"},  {"mkv", "matroska"},
        {"webm", "webm"}, {"avi", "avi"}, {"mpg", "vob"}, {"mpeg", "vob"}, {"m2ts", "mpegts"},
        {"flv", "flv"},   {"wmv", "asf"}, {"ogv", "ogg"},
    };
    return muxers.value(ext.toLower());
}

QString transcode(const QString& input, const AudioFormat& format, const OutputContext& context) {
    const MediaProbe probe = probeAudio(input);
    return produce(context.destination(input, format.ext), input, audioArguments(format, probe),
                   probe.duration, context, Load::light);
}

QString compressAudio(const QString& input, const OutputContext& context) {
    const MediaProbe probe = probeAudio(input);
    const QStringList arguments =
        tagArguments(probe, true) +
        QStringList{"-c:a", "aac", "-b:a", "128k", "-movflags", "+faststart", "-f", "ipod"};
    return produce(context.destination(input, QStringLiteral("m4a"), QStringLiteral("komprimiert")),
                   input, arguments, probe.duration, context, Load::light);
}

QString exportVideo(const QString& input, VideoPreset preset, const OutputContext& context) {
    const MediaProbe probe = probeVideo(input);
    Load load = Load::videoEncode;
    const QStringList arguments = exportArguments(preset, probe, load);
    const QString ext = preset == VideoPreset::mov ? QStringLiteral("mov") : QStringLiteral("mp4");
    return produce(context.destination(input, ext, exportSuffix(preset)), input, arguments,
                   probe.duration, context, load);
}

QString videoToGIF(const QString& input, const OutputContext& context) {
    const MediaProbe probe = probeVideo(input);
    const double rate =
        probe.video->frameRate > 0 ? std::min(gifMaxRate, probe.video->frameRate) : gifMaxRate;
    // One palette made for this clip, then the clip drawn with it, dithered.
    const QString graph =
        QStringLiteral("fps=%1,scale='min(%2,iw)':-1:flags=lanczos,split[a][b];"
                       "[a]palettegen=stats_mode=full[p];[b][p]paletteuse=dither=sierra2_4a")
            .arg(rate)
            .arg(gifMaxWidth);
    // The limit goes on the input: on the output, the palette would wait for the whole video
    // and hold every frame of it until then.
    return AtomicFile::write(
        context.destination(input, QStringLiteral("gif")), [&](const QString& temporary) {
            FFmpegRun::run({"-t", QString::number(gifSeconds), "-i", file(input), "-map", "0:v:0",
                            "-filter_complex", graph, "-loop", "0", "-f", "gif", file(temporary)},
                           std::min(gifSeconds, probe.duration), nameOf(input), context,
                           Load::videoEncode);
        });
}

QString extractAudio(const QString& input, const OutputContext& context) {
    const MediaProbe probe = MediaProbe::of(input);
    if (!probe.audio)
        throw ConversionError::failed(QStringLiteral("Das Video hat keine Tonspur."));
    const QStringList codec = probe.audio->codec == u"aac"
                                  ? QStringList{"-c:a", "copy"}
                                  : QStringList{"-c:a", "aac", "-b:a", "192k"};
    const QStringList arguments = QStringList{"-map", "0:a:0", "-vn"} + codec +
                                  QStringList{"-movflags", "+faststart", "-f", "ipod"};
    return produce(context.destination(input, QStringLiteral("m4a")), input, arguments,
                   probe.duration, context, Load::light);
}

QString stillFrame(const QString& input, const OutputContext& context) {
    const MediaProbe probe = probeVideo(input);
    const double at = probe.duration < shortVideo ? 0 : probe.duration / 2;
    return AtomicFile::write(
        context.destination(input, QStringLiteral("jpg"), QStringLiteral("Standbild")),
        [&](const QString& temporary) {
            // Seeking before the input is fast and exact on decoding; ffmpeg turns the frame
            // upright.
            FFmpegRun::run({"-ss", QString::number(at, 'f', 3), "-i", file(input), "-map", "0:v:0",
                            "-frames:v", "1", "-vf", "scale=out_range=full", "-pix_fmt", "yuvj420p",
                            "-q:v", "2", "-f", "mjpeg", file(temporary)},
                           0, nameOf(input), context, Load::light);
        });
}

QString removeAudio(const QString& input, const OutputContext& context) {
    probeVideo(input);
    const QString ext = pathExtension(input).toLower();
    const QString muxer = muxerFor(ext);
    if (muxer.isEmpty())
        throw ConversionError::unsupported(QStringLiteral("Tonspur entfernen aus .%1").arg(ext));
    QStringList arguments = {"-map", "0:v", "-c", "copy"};
    if (muxer == u"mp4" || muxer == u"mov" || muxer == u"3gp")
        arguments += {"-movflags", "+faststart"};
    arguments += {"-f", muxer};
    return produce(context.destination(input, ext, QStringLiteral("ohne Ton")), input, arguments,
                   MediaProbe::of(input).duration, context, Load::light);
}

} // namespace tramix::MediaConverter
