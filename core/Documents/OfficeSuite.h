// LibreOffice, run headless with a profile of Tramix's own, converting a batch of documents in
// one start. A document that makes it hang or crash is named and the rest go on in a new start.
#pragma once

#include <QList>
#include <QString>
#include <chrono>
#include <functional>
#include <optional>

namespace tramix::OfficeSuite {

// What LibreOffice writes: the results' extension and its export filter ("MS Word 2007 XML").
struct Target {
    QString ext;
    QString filter;
};

// Writer's target for a document extension (docx, pdf, rtf, odt, html, txt): HTML with its
// pictures inside, text as UTF-8 with line feeds.
Target targetFor(const QString& ext);

struct Source {
    QString path; // the file LibreOffice opens; stems are unique within one batch
    QString name; // what the user calls it, for the sentences
};

struct Options {
    QString program; // empty: LibreOffice found on PATH
    // The import filter for every source ("HTML (StarWriter)"); empty: told by the content.
    QString inputFilter;
    // A start, or one document, that gives no sign of life for this long is taken as hung;
    // large documents get longer (see `quietPerMegabyte`).
    std::chrono::milliseconds quiet = std::chrono::minutes(3);
};

// How much longer LibreOffice may stay quiet for each megabyte of the largest source.
constexpr std::chrono::seconds quietPerMegabyte{30};

// Where the result of `source` appears in `outFolder`.
QString resultPath(const Source& source, const Target& target, const QString& outFolder);

// Told once for each source as it ends: none when its result is at `resultPath`, else the
// German sentence of why not. Called on the caller's thread.
using Finished = std::function<void(qsizetype index, const std::optional<QString>& error)>;

// Converts every source into `outFolder`. Throws ConversionError when LibreOffice is missing or
// cannot start, and ConversionError::cancelled once `cancelled` says so; no LibreOffice process
// is left running either way.
void convert(const QList<Source>& sources, const Target& target, const QString& outFolder,
             const Finished& finished, const std::function<bool()>& cancelled,
             const Options& options = {});

} // namespace tramix::OfficeSuite
