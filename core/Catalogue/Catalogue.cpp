#include "Catalogue.h"

#include "Archives/ArchiveConverter.h"
#include "Documents/DocumentConverter.h"
#include "Engines/CutOutEngine.h"
#include "Engines/EngineModule.h"
#include "Engines/ImageEngine.h"
#include "Engines/PDFEngine.h"
#include "Engines/TextEngine.h"
#include "Media/AudioFormat.h"
#include "Media/MediaConverter.h"
#include "SizeCheck.h"
#include "Tables/SpreadsheetConverter.h"
#include "WritableFormats.h"

#include <algorithm>

namespace tramix::Catalogue {

namespace {

constexpr int webEdge = 1920; // pixels on the longest edge

using Each = CatalogueWork::EachFile;
using All = CatalogueWork::AllFiles;

// The image, PDF, text and cut-out engines are opened when a row first runs, never to list.
const ImageEngine& imageEngine() {
    return EngineModule::table<ImageEngine>();
}

const PDFEngine& pdfEngine() {
    return EngineModule::table<PDFEngine>();
}

// A per-file entry of an engine's table, looked up when the row runs.
template <typename Table>
Each engineCall(QString (*const Table::*call)(const QString&, const OutputContext&)) {
    return [call](const QString& input, const OutputContext& context) {
        return (EngineModule::table<Table>().*call)(input, context);
    };
}

CatalogueWork perFile(Each work, const QString& makes = {}) {
    return {OperationStyle::perFile, std::move(work), {}, nullptr, nullptr, makes, {}, {}};
}

CatalogueWork combined(All work) {
    return {OperationStyle::combined, {}, std::move(work), nullptr, nullptr, {}, {}, {}};
}

// One result made from all the files.
CatalogueWork intoOne(QString (*make)(const QStringList&, const OutputContext&)) {
    return combined([make](const QStringList& inputs, const OutputContext& context) {
        return QStringList{make(inputs, context)};
    });
}

CatalogueWork imagesIntoOnePDF() {
    return intoOne([](const QStringList& inputs, const OutputContext& context) {
        return imageEngine().imagesToPDF(inputs, context);
    });
}

CatalogueWork onDesktop(DesktopHandlers::Handler DesktopHandlers::*handler, const char* needs) {
    return {OperationStyle::instant, {}, {}, handler, needs, {}, {}, {}};
}

CatalogueWork toImage(const ImageFormat& format) {
    CatalogueWork work = perFile(
        [format](const QString& input, const OutputContext& context) {
            return imageEngine().convert(input, format, context);
        },
        format.ext);
    work.available = [format] { return WritableFormats::get().contains(format); };
    return work;
}

CatalogueWork pagesAs(const ImageFormat& format) {
    return perFile([format](const QString& input, const OutputContext& context) {
        return pdfEngine().toImages(input, format, context, PDFEngine::pageDPI);
    });
}

// All files of a job go through one start of the office suite.
CatalogueWork toDocument(const DocumentFormat& format) {
    CatalogueWork work = perFile(
        [format](const QString& input, const OutputContext& context) {
            return DocumentConverter::convert(input, format, context);
        },
        format.ext);
    work.batch = [format](const QStringList& inputs, const OutputContext& context,
                          const DocumentConverter::Outcome& outcome) {
        DocumentConverter::convertAll(inputs, format, context, outcome);
    };
    return work;
}

CatalogueWork toTable(const QString& ext) {
    return perFile(
        [ext](const QString& input, const OutputContext& context) {
            return SpreadsheetConverter::convert(input, ext, context);
        },
        ext);
}

CatalogueWork toAudio(const AudioFormat& format) {
    return perFile(
        [format](const QString& input, const OutputContext& context) {
            return MediaConverter::transcode(input, format, context);
        },
        format.ext);
}

Each videoExport(MediaConverter::VideoPreset preset) {
    return [preset](const QString& input, const OutputContext& context) {
        return MediaConverter::exportVideo(input, preset, context);
    };
}

CatalogueWork repackInto(ArchiveConverter::Kind kind) {
    return perFile(
        [kind](const QString& input, const OutputContext& context) {
            return ArchiveConverter::repack(input, kind, context);
        },
        ArchiveConverter::extension(kind));
}

CatalogueWork packInto(ArchiveConverter::Kind kind) {
    return combined([kind](const QStringList& inputs, const OutputContext& context) {
        return QStringList{ArchiveConverter::compress(inputs, kind, context)};
    });
}

// A result that is not meaningfully smaller than its source is no compression; it is removed.
CatalogueWork smallerOrNothing(Each compress, const QString& what) {
    return perFile([compress, what](const QString& input, const OutputContext& context) {
        const QString output = compress(input, context);
        SizeCheck::requireSmaller(output, input, what);
        return output;
    });
}

CatalogueWork webSize() {
    return perFile([](const QString& input, const OutputContext& context) {
        return imageEngine().resizeForWeb(input, webEdge, context);
    });
}

CatalogueWork audioCompress() {
    return smallerOrNothing(
        [](const QString& input, const OutputContext& context) {
            return MediaConverter::compressAudio(input, context);
        },
        QStringLiteral("Die Audiodatei"));
}

std::vector<CatalogueRow> table() {
    using enum FileKind::Value;
    using enum WheelMode::Value;
    using ArchiveConverter::Kind;
    using MediaConverter::VideoPreset;
    constexpr const char* none = nullptr;
    constexpr const char* squeeze = "arrow.down.right.and.arrow.up.left";
    const auto clipboard = "die Zwischenablage des Desktops";

    // clang-format off
    return {
        // Formats: one row per target, in the order the wheel shows them.
        {"convert.image.jpg",  image, convert, {"JPG"},  {"In JPG umwandeln", "Convert to JPG"},   none, toImage(ImageFormat::jpg)},
        {"convert.image.png",  image, convert, {"PNG"},  {"In PNG umwandeln", "Convert to PNG"},   none, toImage(ImageFormat::png)},
        {"convert.image.heic", image, convert, {"HEIC"}, {"In HEIC umwandeln", "Convert to HEIC"}, none, toImage(ImageFormat::heic)},
        {"convert.image.webp", image, convert, {"WEBP"}, {"In WEBP umwandeln", "Convert to WEBP"}, none, toImage(ImageFormat::webp)},
        {"convert.image.avif", image, convert, {"AVIF"}, {"In AVIF umwandeln", "Convert to AVIF"}, none, toImage(ImageFormat::avif)},
        {"convert.image.tiff", image, convert, {"TIFF"}, {"In TIFF umwandeln", "Convert to TIFF"}, none, toImage(ImageFormat::tiff)},
        {"convert.image.gif",  image, convert, {"GIF"},  {"In GIF umwandeln", "Convert to GIF"},   none, toImage(ImageFormat::gif)},
        {"convert.image.bmp",  image, convert, {"BMP"},  {"In BMP umwandeln", "Convert to BMP"},   none, toImage(ImageFormat::bmp)},
        {"convert.image.pdf",  image, convert, {"PDF"},  {"In PDF umwandeln", "Convert to PDF"},   none,
            perFile([](const QString& input, const OutputContext& context) {
                return imageEngine().imagesToPDF({input}, context);
            }, QStringLiteral("pdf"))},

        {"convert.document.docx", pdf, convert, {"DOCX"}, {"In DOCX umwandeln", "Convert to DOCX"},                      none, toDocument(DocumentFormat::docx)},
        {"convert.pdf.jpg",       pdf, convert, {"JPG"},  {"Seiten als JPG", "Pages as JPG"},                            none, pagesAs(ImageFormat::jpg)},
        {"convert.pdf.png",       pdf, convert, {"PNG"},  {"Seiten als PNG", "Pages as PNG"},                            none, pagesAs(ImageFormat::png)},
        {"convert.pdf.txt",       pdf, convert, {"TXT"},  {"Text extrahieren (auch Scans)", "Extract text (scans too)"}, none, perFile(engineCall(&PDFEngine::toText))},
        {"convert.document.rtf",  pdf, convert, {"RTF"},  {"In RTF umwandeln", "Convert to RTF"},                        none, toDocument(DocumentFormat::rtf)},
        {"convert.document.html", pdf, convert, {"HTML"}, {"In HTML umwandeln", "Convert to HTML"},                      none, toDocument(DocumentFormat::html)},

        {"convert.audio.m4a",  audio, convert, {"M4A"},  {"In M4A umwandeln", "Convert to M4A"},   none, toAudio(AudioFormat::m4a)},
        {"convert.audio.mp3",  audio, convert, {"MP3"},  {"In MP3 umwandeln", "Convert to MP3"},   none, toAudio(AudioFormat::mp3)},
        {"convert.audio.wav",  audio, convert, {"WAV"},  {"In WAV umwandeln", "Convert to WAV"},   none, toAudio(AudioFormat::wav)},
        {"convert.audio.aiff", audio, convert, {"AIFF"}, {"In AIFF umwandeln", "Convert to AIFF"}, none, toAudio(AudioFormat::aiff)},
        {"convert.audio.flac", audio, convert, {"FLAC"}, {"In FLAC umwandeln", "Convert to FLAC"}, none, toAudio(AudioFormat::flac)},

        {"convert.video.mp4", video, convert, {"MP4"}, {"In MP4 umwandeln", "Convert to MP4"},       none, perFile(videoExport(VideoPreset::mp4), QStringLiteral("mp4"))},
        {"convert.video.mov", video, convert, {"MOV"}, {"In MOV umwandeln", "Convert to MOV"},       none, perFile(videoExport(VideoPreset::mov), QStringLiteral("mov"))},
        {"convert.video.gif", video, convert, {"GIF"}, {"Als animiertes GIF", "As an animated GIF"}, none, perFile(&MediaConverter::videoToGIF)},
        {"convert.video.m4a", video, convert, {"M4A"}, {"Tonspur als M4A", "Audio track as M4A"},    none, perFile(&MediaConverter::extractAudio)},

        {"convert.document.docx", document, convert, {"DOCX"}, {"In DOCX umwandeln", "Convert to DOCX"}, none, toDocument(DocumentFormat::docx)},
        {"convert.document.pdf",  document, convert, {"PDF"},  {"In PDF umwandeln", "Convert to PDF"},   none, toDocument(DocumentFormat::pdf)},
        {"convert.document.rtf",  document, convert, {"RTF"},  {"In RTF umwandeln", "Convert to RTF"},   none, toDocument(DocumentFormat::rtf)},
        {"convert.document.odt",  document, convert, {"ODT"},  {"In ODT umwandeln", "Convert to ODT"},   none, toDocument(DocumentFormat::odt)},
        {"convert.document.html", document, convert, {"HTML"}, {"In HTML umwandeln", "Convert to HTML"}, none, toDocument(DocumentFormat::html)},
        {"convert.document.txt",  document, convert, {"TXT"},  {"In TXT umwandeln", "Convert to TXT"},   none, toDocument(DocumentFormat::txt)},

        {"convert.sheet.xlsx", spreadsheet, convert, {"XLSX"}, {"In XLSX umwandeln", "Convert to XLSX"}, none, toTable(QStringLiteral("xlsx"))},
        {"convert.sheet.csv",  spreadsheet, convert, {"CSV"},  {"In CSV umwandeln", "Convert to CSV"},   none, toTable(QStringLiteral("csv"))},
        {"convert.sheet.tsv",  spreadsheet, convert, {"TSV"},  {"In TSV umwandeln", "Convert to TSV"},   none, toTable(QStringLiteral("tsv"))},
        {"convert.sheet.json", spreadsheet, convert, {"JSON"}, {"In JSON umwandeln", "Convert to JSON"}, none, toTable(QStringLiteral("json"))},
        {"convert.sheet.html", spreadsheet, convert, {"HTML"}, {"In HTML umwandeln", "Convert to HTML"}, none, toTable(QStringLiteral("html"))},

        {"convert.archive.extract", archive, convert, {"ENTPACKEN", "EXTRACT"}, {"Archiv entpacken", "Extract the archive"}, "shippingbox.and.arrow.backward", perFile(&ArchiveConverter::extract)},
        {"convert.archive.zip",     archive, convert, {"ZIP"},                  {"In ZIP umpacken", "Repack as ZIP"},        none,                             repackInto(Kind::zip)},
        {"convert.archive.tgz",     archive, convert, {"TAR.GZ"},               {"In TAR.GZ umpacken", "Repack as TAR.GZ"},  none,                             repackInto(Kind::tgz)},

        {"archive.zip", folder, convert, {"ZIP"},    {"Als ZIP packen", "Pack as ZIP"},       none, packInto(Kind::zip)},
        {"archive.tgz", folder, convert, {"TAR.GZ"}, {"Als TAR.GZ packen", "Pack as TAR.GZ"}, none, packInto(Kind::tgz)},

        // Tools
        {"tool.image.compress", image, tools, {"KOMPR.", "COMPRESS"},     {"Komprimieren", "Compress"},                                      squeeze,                 perFile(engineCall(&ImageEngine::compress))},
        {"tool.image.cutout",   image, tools, {"FREISTELLEN", "CUT OUT"}, {"Hintergrund entfernen", "Remove the background"},                "person.crop.rectangle", perFile(engineCall(&CutOutEngine::removeBackground))},
        {"tool.image.ocr",      image, tools, {"TEXT"},                   {"Text erkennen und kopieren", "Recognize and copy text"},         "text.viewfinder",       perFile(engineCall(&TextEngine::recognizeText))},
        {"tool.image.web",      image, tools, {"WEB"},                    {"Für Web verkleinern (1920 px)", "Shrink for the web (1920 px)"}, "globe",                 webSize()},
        {"tool.image.strip",    image, tools, {"METADATEN", "METADATA"},  {"Metadaten & GPS entfernen", "Remove metadata & GPS"},            "eye.slash",             perFile(engineCall(&ImageEngine::stripMetadata))},
        {"tool.image.pdf",      image, tools, {"PDF"},                    {"Als PDF", "As PDF"},                                             "doc.richtext",          imagesIntoOnePDF(),
            {"%1 Bilder zu einem PDF", "%1 images in one PDF"}},

        {"tool.pdf.compress", pdf, tools, {"KOMPR.", "COMPRESS"}, {"PDF komprimieren", "Compress the PDF"}, squeeze, perFile(engineCall(&PDFEngine::compress))},

        {"tool.audio.compress", audio, tools, {"KOMPR.", "COMPRESS"}, {"Als M4A mit 128 kbit/s", "As M4A at 128 kbit/s"}, squeeze, audioCompress()},

        {"tool.video.compress", video, tools, {"KOMPR.", "COMPRESS"}, {"Komprimieren (HEVC)", "Compress (HEVC)"},                 squeeze,         smallerOrNothing(videoExport(VideoPreset::hevc), QStringLiteral("Das Video"))},
        {"tool.video.720p",     video, tools, {"720P"},               {"Klein für WhatsApp & Mail", "Small for WhatsApp & mail"}, "paperplane",    smallerOrNothing(videoExport(VideoPreset::p720), QStringLiteral("Das Video"))},
        {"tool.video.still",    video, tools, {"STANDBILD", "STILL"}, {"Standbild als JPG", "Still frame as JPG"},                "photo",         perFile(&MediaConverter::stillFrame)},
        {"tool.video.mute",     video, tools, {"STUMM", "MUTE"},      {"Tonspur entfernen", "Remove the audio track"},            "speaker.slash", perFile(&MediaConverter::removeAudio)},

        // Actions: the same for every kind of file.
        {"action.airdrop",  std::nullopt, actions, {"TEILEN", "SHARE"},  {"An ein Gerät senden", "Send to a device"},        "airplayaudio",        onDesktop(&DesktopHandlers::share, "ein Gerät zum Senden, das der Desktop kennt")},
        {"action.float",    std::nullopt, actions, {"FLOAT"},            {"In die Ablage legen", "Put on the shelf"},        "tray.and.arrow.down", onDesktop(&DesktopHandlers::shelve, "die schwebende Ablage auf dem Bildschirm")},
        {"action.copy",     std::nullopt, actions, {"KOPIEREN", "COPY"}, {"In die Zwischenablage", "Copy to the clipboard"}, "doc.on.doc",          onDesktop(&DesktopHandlers::copyFiles, clipboard)},
        {"action.move",     std::nullopt, actions, {"BEWEGEN", "MOVE"},  {"In einen Ordner bewegen", "Move to a folder"},    "folder",              onDesktop(&DesktopHandlers::move, "eine Ordnerauswahl auf dem Bildschirm")},
        {"action.path",     std::nullopt, actions, {"PFAD", "PATH"},     {"Pfad kopieren", "Copy the path"},                 "link",                onDesktop(&DesktopHandlers::copyPaths, clipboard)},
        {"action.terminal", std::nullopt, actions, {"TERMINAL"},         {"Im Terminal öffnen", "Open in a terminal"},       "terminal",            onDesktop(&DesktopHandlers::openTerminal, "ein Terminalfenster")},
        {"archive.zip",     std::nullopt, actions, {"ZIP"},              {"Als ZIP packen", "Pack as ZIP"},                  "archivebox",          packInto(Kind::zip)},
    };
    // clang-format on
}

} // namespace

const std::vector<CatalogueRow>& rows() {
    static const std::vector<CatalogueRow> all = table();
    return all;
}

const CatalogueRow* find(QStringView id) {
    const auto& all = rows();
    const auto row = std::find_if(all.begin(), all.end(), [&](const CatalogueRow& r) {
        return id == QLatin1StringView(r.id);
    });
    return row == all.end() ? nullptr : &*row;
}

} // namespace tramix::Catalogue
