#include "MediaProbe.h"

#include "ConversionError.h"
#include "EngineLog.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

namespace tramix {

namespace {

constexpr int probeTimeoutMs = 60'000;

double rate(const QString& fraction) {
    const QStringList parts = fraction.split(u'/');
    if (parts.size() != 2 || parts[1].toDouble() <= 0)
        return 0;
    return parts[0].toDouble() / parts[1].toDouble();
}

int losslessBits(const QJsonObject& stream) {
    const QString codec = stream[u"codec_name"].toString();
    if (codec.startsWith(u"pcm_"))
        return stream[u"bits_per_sample"].toString().toInt() > 0
                   ? stream[u"bits_per_sample"].toString().toInt()
                   : stream[u"bits_per_sample"].toInt();
    if (codec == u"flac" || codec == u"alac" || codec == u"wavpack" || codec == u"ape")
        return stream[u"bits_per_raw_sample"].toString().toInt();
    return 0;
}

QJsonObject runProbe(const QString& path, const QString& name) {
    QProcess process;
    process.setProgram(QStringLiteral("ffprobe"));
    process.setArguments({"-v", "error", "-print_format", "json", "-show_format", "-show_streams",
                          QStringLiteral("file:") + path});
    process.setStandardInputFile(QProcess::nullDevice());
    process.start();
    if (!process.waitForStarted(-1))
        throw ConversionError::failed(QStringLiteral("ffprobe konnte nicht gestartet werden."));
    if (!process.waitForFinished(probeTimeoutMs))
        process.kill();
    process.waitForFinished(-1);
    const QByteArray errors = process.readAllStandardError().trimmed();
    const QJsonObject root = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0 ||
        !root.contains(u"streams") || root[u"streams"].toArray().isEmpty()) {
        qCWarning(engineLog).noquote() << "ffprobe" << path << errors;
        throw ConversionError::failed(
            QStringLiteral("„%1“ ist keine lesbare Audio- oder Videodatei.").arg(name));
    }
    return root;
}

} // namespace

MediaProbe MediaProbe::of(const QString& path) {
    const QString name = QFileInfo(path).fileName();
    if (QFile file(path); !file.open(QIODevice::ReadOnly))
        throw ConversionError::unreadable(name);
    const QJsonObject root = runProbe(path, name);
    MediaProbe probe;
    probe.duration = root[u"format"][u"duration"].toString().toDouble();
    bool allAAC = true;
    for (const QJsonValue& value : root[u"streams"].toArray()) {
        const QJsonObject stream = value.toObject();
        const QString type = stream[u"codec_type"].toString();
        if (type == u"video") {
            if (stream[u"disposition"][u"attached_pic"].toInt() != 0) {
                probe.hasCover = true;
            } else if (!probe.video) {
                probe.video =
                    Video{stream[u"codec_name"].toString(), stream[u"width"].toInt(),
                          stream[u"height"].toInt(), rate(stream[u"avg_frame_rate"].toString())};
            }
        } else if (type == u"audio") {
            allAAC = allAAC && stream[u"codec_name"].toString() == u"aac";
            if (!probe.audio) {
                probe.audio = Audio{stream[u"codec_name"].toString(), losslessBits(stream)};
                probe.tagsOnStream = root[u"format"][u"tags"].toObject().isEmpty() &&
                                     !stream[u"tags"].toObject().isEmpty();
            }
        }
    }
    probe.onlyAAC = probe.audio && allAAC;
    if (probe.duration <= 0 && root[u"streams"].toArray().size() > 0)
        probe.duration = root[u"streams"][0][u"duration"].toString().toDouble();
    return probe;
}

} // namespace tramix
