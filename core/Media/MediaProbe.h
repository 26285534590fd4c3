// What ffprobe says about a media file: its length and the streams the converter chooses by.
#pragma once

#include <QString>
#include <optional>

namespace tramix {

struct MediaProbe {
    struct Video {
        QString codec;
        int width = 0;
        int height = 0;
        double frameRate = 0; // frames per second; 0 when unknown
    };
    struct Audio {
        QString codec;
        int bits = 0; // bits per sample of lossless sources; 0 for compressed ones
    };

    double duration = 0;        // seconds
    std::optional<Video> video; // the first real picture stream (cover art does not count)
    std::optional<Audio> audio; // the first sound stream
    bool onlyAAC = false;       // every sound stream is AAC
    bool hasCover = false;      // an attached picture, as music files carry
    bool tagsOnStream = false;  // the tags sit on the sound stream (Ogg, Opus), not the file

    // Throws ConversionError naming the file when it is unreadable or not a media file at all.
    static MediaProbe of(const QString& path);
};

} // namespace tramix
