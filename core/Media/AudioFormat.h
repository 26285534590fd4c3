#pragma once

#include <QList>
#include <QString>

namespace tramix {

// An audio format that audio files are transcoded into.
struct AudioFormat {
    QString ext;
    QString title;

    bool operator==(const AudioFormat&) const = default;

    static const AudioFormat m4a, mp3, wav, aiff, flac;
    static const QList<AudioFormat>& all();
};

} // namespace tramix
