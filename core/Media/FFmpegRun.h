// One ffmpeg run: its progress turned into the fraction of the input done, stopped on cancel,
// and heavy video encodes kept to what the machine's cores can carry.
#pragma once

#include "OutputContext.h"

#include <QStringList>

namespace tramix::FFmpegRun {

enum class Load { light, videoEncode };

// How many video encodes run at once on a machine with `cores` cores: one per two, at least one.
int videoEncodeSlots(int cores);

// Runs ffmpeg with `arguments` (inputs and outputs included) and reports progress against
// `duration` seconds through the context. Throws ConversionError naming `inputName` when ffmpeg
// fails, and ConversionError::cancelled when the job was cancelled.
void run(const QStringList& arguments, double duration, const QString& inputName,
         const OutputContext& context, Load load);

} // namespace tramix::FFmpegRun
