// Audio and video through ffmpeg: every function probes its input, writes one result whole or not
// at all, reports its progress and stops when the job is cancelled.
#pragma once

#include "AudioFormat.h"
#include "OutputContext.h"

namespace tramix::MediaConverter {

// What a video export produces: a plain container change, or one of the two compressions.
enum class VideoPreset { mp4, mov, hevc, p720 };

QString transcode(const QString& input, const AudioFormat& format, const OutputContext& context);
// AAC at 128 kbit/s as "{name} komprimiert.m4a"; the caller checks that it got smaller.
QString compressAudio(const QString& input, const OutputContext& context);
QString exportVideo(const QString& input, VideoPreset preset, const OutputContext& context);
QString videoToGIF(const QString& input, const OutputContext& context);
QString extractAudio(const QString& input, const OutputContext& context);
QString stillFrame(const QString& input, const OutputContext& context);
QString removeAudio(const QString& input, const OutputContext& context);

// The ffmpeg muxer for a file extension, for the containers the video kind takes.
QString muxerFor(const QString& ext);

} // namespace tramix::MediaConverter
