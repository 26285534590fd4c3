#include "AudioFormat.h"

namespace tramix {

const AudioFormat AudioFormat::m4a{"m4a", "M4A"};
const AudioFormat AudioFormat::mp3{"mp3", "MP3"};
const AudioFormat AudioFormat::wav{"wav", "WAV"};
const AudioFormat AudioFormat::aiff{"aiff", "AIFF"};
const AudioFormat AudioFormat::flac{"flac", "FLAC"};

const QList<AudioFormat>& AudioFormat::all() {
    static const QList<AudioFormat> formats = {m4a, mp3, wav, aiff, flac};
    return formats;
}

} // namespace tramix
