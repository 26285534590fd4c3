#include "MediaConverter.h"

#include "ConversionError.h"

namespace tramix::MediaConverter {

namespace {

[[noreturn]] void notYet(const QString& what) {
    throw ConversionError::unsupported(what);
}

QString presetText(VideoPreset preset) {
    switch (preset) {
    case VideoPreset::mp4:
        return QStringLiteral("Video in MP4 umwandeln");
    case VideoPreset::mov:
        return QStringLiteral("Video in MOV umwandeln");
    case VideoPreset::hevc:
        return QStringLiteral("Video komprimieren (HEVC)");
    case VideoPreset::p720:
        return QStringLiteral("Video auf 720p verkleinern");
    }
    return {};
}

} // namespace

QString transcode(const QString&, const AudioFormat& format, const OutputContext&) {
    notYet(QStringLiteral("Audioumwandlung in %1").arg(format.title));
}

QString exportVideo(const QString&, VideoPreset preset, const OutputContext&) {
    notYet(presetText(preset));
}

QString videoToGIF(const QString&, const OutputContext&) {
    notYet(QStringLiteral("Video als animiertes GIF"));
}

QString extractAudio(const QString&, const OutputContext&) {
    notYet(QStringLiteral("Tonspur als M4A"));
}

QString stillFrame(const QString&, const OutputContext&) {
    notYet(QStringLiteral("Standbild aus Video"));
}

QString removeAudio(const QString&, const OutputContext&) {
    notYet(QStringLiteral("Tonspur entfernen"));
}

} // namespace tramix::MediaConverter
