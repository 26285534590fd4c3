#include "OperationRegistry.h"

#include "Catalogue.h"
#include "ConversionError.h"

#include <QSet>

namespace tramix::OperationRegistry {

namespace {

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

bool fits(const CatalogueRow& row, WheelMode mode, const std::optional<FileKind>& kind,
          const std::optional<QString>& shared) {
    if (row.mode != mode || (row.kind && row.kind != kind))
        return false;
    if (!row.work.makes.isEmpty() && shared == row.work.makes)
        return false;
    return !row.work.available || row.work.available();
}

QString sentenceWithoutDesktop(const CatalogueRow& row) {
    const QString what = row.mode == WheelMode::actions ? QStringLiteral("Die Aktion")
                                                        : QStringLiteral("Das Werkzeug");
    return QStringLiteral("%1 „%2“ braucht %3 und geht nur in der laufenden Tramix-App, nicht in "
                          "der Befehlszeile.")
        .arg(what, row.title.in(Language::german), QString::fromUtf8(row.work.needs));
}

PerformFunction performOf(const CatalogueRow& row, const DesktopHandlers* desktop) {
    const CatalogueWork& work = row.work;
    if (work.eachFile) {
        return [each = work.eachFile](const QStringList& inputs, const OutputContext& context) {
            QStringList outputs;
            for (const QString& input : inputs)
                outputs.append(each(input, context));
            return outputs;
        };
    }
    if (work.allFiles)
        return work.allFiles;
    const QString refusal = sentenceWithoutDesktop(row);
    const QString detail = row.detail.in(Language::german);
    DesktopHandlers::Handler handler = desktop ? desktop->*work.handler : nullptr;
    return [desktop, handler, refusal, detail](const QStringList& inputs,
                                               const OutputContext&) -> QStringList {
        if (!desktop)
            throw ConversionError::failed(refusal);
        if (!handler)
            throw ConversionError::unsupported(detail);
        handler(inputs);
        return {};
    };
}

FileOperation operationOf(const CatalogueRow& row, qsizetype count, const DesktopHandlers* desktop,
                          Language language) {
    const bool many = row.detailForMany && count >= 2;
    const QString detail =
        many ? row.detailForMany.in(language).arg(count) : row.detail.in(language);
    std::optional<QString> symbol;
    if (row.symbol)
        symbol = QString::fromLatin1(row.symbol);
    return {QString::fromLatin1(row.id), row.title.in(language), detail, symbol, row.work.style,
            performOf(row, desktop),     row.work.batch};
}

} // namespace

QList<FileOperation> operations(WheelMode mode, const QStringList& paths,
                                const DesktopHandlers* desktop, Language language) {
    if (paths.isEmpty())
        return {};
    const std::optional<FileKind> kind = commonKind(paths);
    const std::optional<QString> shared = sharedFormat(paths);
    QList<FileOperation> result;
    for (const CatalogueRow& row : Catalogue::rows()) {
        if (fits(row, mode, kind, shared))
            result.append(operationOf(row, paths.size(), desktop, language));
    }
    return result;
}

QList<FileOperation> convertOperations(const QStringList& paths) {
    return operations(WheelMode::convert, paths);
}

QList<FileOperation> toolOperations(const QStringList& paths) {
    return operations(WheelMode::tools, paths);
}

std::optional<FileKind> commonKind(const QStringList& paths) {
    QSet<FileKind> kinds;
    for (const QString& path : paths)
        kinds.insert(FileKind::of(path));
    if (kinds.size() != 1)
        return std::nullopt;
    return *kinds.begin();
}

std::optional<QString> needsDesktop(const QString& id) {
    const CatalogueRow* row = Catalogue::find(id);
    if (!row || !row->work.handler)
        return std::nullopt;
    return sentenceWithoutDesktop(*row);
}

} // namespace tramix::OperationRegistry
