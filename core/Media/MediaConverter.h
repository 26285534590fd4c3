// Audio and video through ffmpeg.
#pragma once

#include "AudioFormat.h"
#include "OutputContext.h"

namespace tramix::MediaConverter {

// What a video export produces: a plain container change, or one of the two compressions.
enum class VideoPreset { mp4, mov, hevc, p720 };

QString transcode(const QString& input, const AudioFormat& format, const OutputContext& context);
QString exportVideo(const QString& input, VideoPreset preset, const OutputContext& context);
QString videoToGIF(const QString& input, const OutputContext& context);
QString extractAudio(const QString& input, const OutputContext& context);
QString stillFrame(const QString& input, const OutputContext& context);
QString removeAudio(const QString& input, const OutputContext& context);

} // namespace tramix::MediaConverter
