#include "OperationRegistry.h"

#include "ConversionError.h"
#include "Documents/DocumentConverter.h"
#include "Image/ImageConverter.h"
#include "Media/AudioFormat.h"
#include "Media/MediaConverter.h"
#include "PDF/PDFConverter.h"
#include "SizeCheck.h"
#include "Tables/SpreadsheetConverter.h"
#include "Text/VisionTools.h"

#include <QSet>

namespace tramix::OperationRegistry {

namespace {

const QString squeezeSymbol = QStringLiteral("arrow.down.right.and.arrow.up.left");

QString convertDetail(const QString& title) {
    return QStringLiteral("In %1 umwandeln").arg(title);
}

// The extension that decides "already in this format"; a .tar.gz counts as such, not as .gz.
QString formatExtension(const QString& path) {
    if (path.endsWith(u".tar.gz", Qt::CaseInsensitive))
        return QStringLiteral("tar.gz");
    return FileKind::canonicalExtension(pathExtension(path));
}

// The format every input is already in, if they agree.
std::optional<QString> sharedFormat(const QStringList& paths) {
    std::optional<QString> shared;
    for (const QString& path : paths) {
        const QString ext = formatExtension(path);
        if (shared && *shared != ext)
            return std::nullopt;
        shared = ext;
    }
    return shared;
}

// The PDF is named after the first image; one image per page, in the given order.
FileOperation imagesToPDF(const QString& id, const QString& detail,
                          const std::optional<QString>& symbol, OperationStyle style) {
    return {id,
            QStringLiteral("PDF"),
            detail,
            symbol,
            style,
            [](const QStringList& inputs, const OutputContext& context) -> QStringList {
                if (inputs.isEmpty())
                    throw ConversionError::failed(QStringLiteral("Keine Dateien."));
                const QString destination =
                    context.destination(inputs.first(), QStringLiteral("pdf"));
                ImageConverter::makePDF(inputs, destination);
                return {destination};
            }};
}

FileOperation compressThenCheck(const QString& id, const QString& title, const QString& detail,
                                const QString& what, PerFileFunction compress) {
    return perFile(id, title, detail, squeezeSymbol,
                   [compress, what](const QString& input, const OutputContext& context) {
                       const QString output = compress(input, context);
                       SizeCheck::requireSmaller(output, input, what);
                       return output;
                   });
}

struct Target {
    QString ext; // empty: never the input's own format
    FileOperation operation;
};

QList<FileOperation> offered(const QList<Target>& targets, const QStringList& paths) {
    const std::optional<QString> shared = sharedFormat(paths);
    QList<FileOperation> result;
    for (const Target& target : targets) {
        if (target.ext.isEmpty() || !shared || target.ext != *shared)
            result.append(target.operation);
    }
    return result;
}

QList<Target> imageTargets() {
    QList<Target> targets;
    for (const ImageFormat& format : ImageFormat::writable())
        targets.append({format.ext, imageConvert(format)});
    targets.append({QStringLiteral("pdf"), imagesToPDF(QStringLiteral("convert.image.pdf"),
                                                       QStringLiteral("In PDF umwandeln"),
                                                       std::nullopt, OperationStyle::perFile)});
    return targets;
}

FileOperation pdfPages(const ImageFormat& format) {
    return perFile("convert.pdf." + format.ext, format.title, "Seiten als " + format.title,
                   std::nullopt, [format](const QString& input, const OutputContext& context) {
                       return PDFConverter::toImages(input, format, context);
                   });
}

QList<Target> pdfTargets() {
    return {
        {"docx", documentConvert(DocumentFormat::docx)},
        {"jpg", pdfPages(ImageFormat::jpg)},
        {"png", pdfPages(ImageFormat::png)},
        {"txt", perFile("convert.pdf.txt", "TXT", "Text extrahieren (auch Scans)", std::nullopt,
                        &PDFConverter::toText)},
        {"rtf", documentConvert(DocumentFormat::rtf)},
        {"html", documentConvert(DocumentFormat::html)},
    };
}

QList<Target> audioTargets() {
    QList<Target> targets;
    for (const AudioFormat& format : AudioFormat::all()) {
        targets.append({format.ext, perFile("convert.audio." + format.ext, format.title,
                                            convertDetail(format.title), std::nullopt,
                                            [format](const QString& in, const OutputContext& c) {
                                                return MediaConverter::transcode(in, format, c);
                                            })});
    }
    return targets;
}

PerFileFunction videoExport(MediaConverter::VideoPreset preset) {
    return [preset](const QString& input, const OutputContext& context) {
        return MediaConverter::exportVideo(input, preset, context);
    };
}

QList<Target> videoTargets() {
    using MediaConverter::VideoPreset;
    return {
        {"mp4", perFile("convert.video.mp4", "MP4", "In MP4 umwandeln", std::nullopt,
                        videoExport(VideoPreset::mp4))},
        {"mov", perFile("convert.video.mov", "MOV", "In MOV umwandeln", std::nullopt,
                        videoExport(VideoPreset::mov))},
        {"gif", perFile("convert.video.gif", "GIF", "Als animiertes GIF", std::nullopt,
                        &MediaConverter::videoToGIF)},
        {"m4a", perFile("convert.video.m4a", "M4A", "Tonspur als M4A", std::nullopt,
                        &MediaConverter::extractAudio)},
    };
}

QList<Target> documentTargets() {
    QList<Target> targets;
    for (const DocumentFormat& format : DocumentFormat::all())
        targets.append({format.ext, documentConvert(format)});
    return targets;
}

QList<Target> sheetTargets() {
    QList<Target> targets;
    for (const SpreadsheetConverter::Format& format : SpreadsheetConverter::formats()) {
        const QString ext = format.ext;
        targets.append(
            {ext, perFile("convert.sheet." + ext, format.title, convertDetail(format.title),
                          std::nullopt, [ext](const QString& input, const OutputContext& context) {
                              return SpreadsheetConverter::convert(input, ext, context);
                          })});
    }
    return targets;
}

FileOperation repack(ArchiveConverter::Kind kind, const QString& id) {
    const QString title = ArchiveConverter::title(kind);
    return perFile(id, title, QStringLiteral("In %1 umpacken").arg(title), std::nullopt,
                   [kind](const QString& input, const OutputContext& context) {
                       return ArchiveConverter::repack(input, kind, context);
                   });
}

QList<Target> archiveTargets() {
    using ArchiveConverter::Kind;
    return {
        {QString(),
         perFile("convert.archive.extract", "ENTPACKEN", "Archiv entpacken",
                 QStringLiteral("shippingbox.and.arrow.backward"), &ArchiveConverter::extract)},
        {"zip", repack(Kind::zip, "convert.archive.zip")},
        {"tar.gz", repack(Kind::tgz, "convert.archive.tgz")},
    };
}

QList<Target> convertTargets(FileKind kind) {
    switch (kind) {
    case FileKind::image:
        return imageTargets();
    case FileKind::pdf:
        return pdfTargets();
    case FileKind::audio:
        return audioTargets();
    case FileKind::video:
        return videoTargets();
    case FileKind::document:
        return documentTargets();
    case FileKind::spreadsheet:
        return sheetTargets();
    case FileKind::archive:
        return archiveTargets();
    case FileKind::folder:
        return {{QString(), archive(ArchiveConverter::Kind::zip, std::nullopt)},
                {QString(), archive(ArchiveConverter::Kind::tgz, std::nullopt)}};
    case FileKind::other:
        break;
    }
    return {};
}

QList<FileOperation> imageTools(qsizetype count) {
    const QString pdfDetail = count >= 2 ? QStringLiteral("%1 Bilder zu einem PDF").arg(count)
                                         : QStringLiteral("Als PDF");
    return {
        perFile("tool.image.compress", "KOMPR.", "Komprimieren", squeezeSymbol,
                &ImageConverter::compress),
        perFile("tool.image.cutout", "FREISTELLEN", "Hintergrund entfernen",
                QStringLiteral("person.crop.rectangle"), &VisionTools::removeBackground),
        perFile("tool.image.ocr", "TEXT", "Text erkennen und kopieren",
                QStringLiteral("text.viewfinder"), &VisionTools::recognizeText),
        perFile("tool.image.web", "WEB", "Für Web verkleinern (1920 px)", QStringLiteral("globe"),
                [](const QString& input, const OutputContext& context) {
                    return ImageConverter::resizeForWeb(input, 1920, context);
                }),
        perFile("tool.image.strip", "METADATEN", "Metadaten & GPS entfernen",
                QStringLiteral("eye.slash"), &ImageConverter::stripMetadata),
        imagesToPDF(QStringLiteral("tool.image.pdf"), pdfDetail, QStringLiteral("doc.richtext"),
                    OperationStyle::combined),
    };
}

QList<FileOperation> videoTools() {
    using MediaConverter::VideoPreset;
    return {
        compressThenCheck("tool.video.compress", "KOMPR.", "Komprimieren (HEVC)", "Das Video",
                          videoExport(VideoPreset::hevc)),
        compressThenCheck("tool.video.720p", "720P", "Klein für WhatsApp & Mail", "Das Video",
                          videoExport(VideoPreset::p720)),
        perFile("tool.video.still", "STANDBILD", "Standbild als JPG", QStringLiteral("photo"),
                &MediaConverter::stillFrame),
        perFile("tool.video.mute", "STUMM", "Tonspur entfernen", QStringLiteral("speaker.slash"),
                &MediaConverter::removeAudio),
    };
}

} // namespace

QList<FileOperation> convertOperations(const QStringList& paths) {
    const std::optional<FileKind> kind = commonKind(paths);
    if (!kind)
        return {};
    return offered(convertTargets(*kind), paths);
}

QList<FileOperation> toolOperations(const QStringList& paths) {
    const std::optional<FileKind> kind = commonKind(paths);
    if (!kind)
        return {};
    switch (*kind) {
    case FileKind::image:
        return imageTools(paths.size());
    case FileKind::pdf:
        return {perFile("tool.pdf.compress", "KOMPR.", "PDF komprimieren", squeezeSymbol,
                        &PDFConverter::compress)};
    case FileKind::audio:
        return {compressThenCheck(
            "tool.audio.compress", "KOMPR.", "Als M4A mit 128 kbit/s", "Die Audiodatei",
            [](const QString& input, const OutputContext& context) {
                return MediaConverter::transcode(input, AudioFormat::m4a, context);
            })};
    case FileKind::video:
        return videoTools();
    default:
        return {};
    }
}

std::optional<FileKind> commonKind(const QStringList& paths) {
    QSet<FileKind> kinds;
    for (const QString& path : paths)
        kinds.insert(FileKind::of(path));
    if (kinds.size() != 1)
        return std::nullopt;
    return *kinds.begin();
}

FileOperation imageConvert(const ImageFormat& format) {
    return perFile("convert.image." + format.ext, format.title, convertDetail(format.title),
                   std::nullopt, [format](const QString& input, const OutputContext& context) {
                       return ImageConverter::convert(input, format, context);
                   });
}

FileOperation documentConvert(const DocumentFormat& format) {
    return perFile("convert.document." + format.ext, format.title, convertDetail(format.title),
                   std::nullopt, [format](const QString& input, const OutputContext& context) {
                       return DocumentConverter::convert(input, format, context);
                   });
}

FileOperation archive(ArchiveConverter::Kind kind, const std::optional<QString>& symbol) {
    const QString id = kind == ArchiveConverter::Kind::zip ? "archive.zip" : "archive.tgz";
    const QString title = ArchiveConverter::title(kind);
    return {id,
            title,
            QStringLiteral("Als %1 packen").arg(title),
            symbol,
            OperationStyle::combined,
            [kind](const QStringList& inputs, const OutputContext& context) -> QStringList {
                return {ArchiveConverter::compress(inputs, kind, context)};
            }};
}

FileOperation zipOperation() {
    return archive(ArchiveConverter::Kind::zip, QStringLiteral("archivebox"));
}

FileOperation perFile(const QString& id, const QString& title, const QString& detail,
                      const std::optional<QString>& symbol, PerFileFunction function) {
    return {id,
            title,
            detail,
            symbol,
            OperationStyle::perFile,
            [function = std::move(function)](const QStringList& inputs,
                                             const OutputContext& context) -> QStringList {
                QStringList outputs;
                for (const QString& input : inputs)
                    outputs.append(function(input, context));
                return outputs;
            }};
}

} // namespace tramix::OperationRegistry
