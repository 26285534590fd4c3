// One operation as data. The wheels, the command line, its help and its completion are all made
// from rows like this one.
#pragma once

#include "DesktopHandlers.h"
#include "FileKind.h"
#include "Language.h"
#include "OperationStyle.h"
#include "OutputContext.h"
#include "WheelMode.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace tramix {

// What a row runs: a converter once per file, one converter call with all files, or a handler
// of the desktop.
struct CatalogueWork {
    using EachFile = std::function<QString(const QString& input, const OutputContext&)>;
    using AllFiles = std::function<QStringList(const QStringList& inputs, const OutputContext&)>;
    // Per-file work that is better done for all files at once (see FileOperation's batch).
    using Batch = std::function<void(
        const QStringList& inputs, const OutputContext&,
        const std::function<void(qsizetype, const QStringList&, const std::optional<QString>&)>&)>;

    OperationStyle style = OperationStyle::perFile;
    EachFile eachFile;
    AllFiles allFiles;
    DesktopHandlers::Handler DesktopHandlers::*handler = nullptr;
    // What the command line lacks for a handler, to finish "braucht {needs}".
    const char* needs = nullptr;
    // The canonical extension of the format made: not offered when every input already has it.
    QString makes;
    // Whether this machine can do it (an encoder may be missing); none: always.
    std::function<bool()> available;
    Batch batch;
};

// A text of a row in both languages of the interface.
struct CatalogueText {
    const char* german = nullptr;  // none: the row has no such text
    const char* english = nullptr; // none: the same as the German (format names)

    explicit operator bool() const { return german != nullptr; }
    QString in(Language language) const {
        return QString::fromUtf8(language == Language::english && english ? english : german);
    }
};

struct CatalogueRow {
    const char* id;
    std::optional<FileKind> kind; // none: any files
    WheelMode mode;
    CatalogueText title;
    CatalogueText detail;
    const char* symbol; // none when null
    CatalogueWork work;
    // The detail for two or more files, "%1" standing for their number.
    CatalogueText detailForMany = {};
};

} // namespace tramix
