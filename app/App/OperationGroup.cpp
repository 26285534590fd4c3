#include "OperationGroup.h"

#include "Catalogue/Catalogue.h"

#include <algorithm>

namespace tramix {

namespace {

QString kindTitle(FileKind kind) {
    switch (kind) {
    case FileKind::image:
        return QStringLiteral("Bilder");
    case FileKind::pdf:
        return QStringLiteral("PDFs");
    case FileKind::audio:
        return QStringLiteral("Audio");
    case FileKind::video:
        return QStringLiteral("Videos");
    case FileKind::document:
        return QStringLiteral("Dokumente");
    case FileKind::spreadsheet:
        return QStringLiteral("Tabellen");
    case FileKind::archive:
        return QStringLiteral("Archive");
    case FileKind::folder:
        return QStringLiteral("Ordner");
    case FileKind::other:
        return QStringLiteral("Andere Dateien");
    }
    Q_UNREACHABLE();
}

OperationGroup groupOf(const QString& title, const std::optional<FileKind>& kind) {
    OperationGroup group{title, {}};
    for (const CatalogueRow& row : Catalogue::rows()) {
        if (row.kind == kind)
            group.rows.push_back(&row);
    }
    return group;
}

} // namespace

std::vector<OperationGroup> OperationGroup::byKind() {
    std::vector<OperationGroup> groups;
    for (FileKind kind : FileKind::allCases())
        groups.push_back(groupOf(kindTitle(kind), kind));
    groups.push_back(groupOf(QStringLiteral("Alle Dateien"), std::nullopt));
    std::erase_if(groups, [](const OperationGroup& group) { return group.rows.empty(); });
    return groups;
}

qsizetype OperationGroup::idWidth(const std::vector<OperationGroup>& groups) {
    qsizetype width = 0;
    for (const OperationGroup& group : groups) {
        for (const CatalogueRow* row : group.rows)
            width = std::max(width, qsizetype(qstrlen(row->id)));
    }
    return width;
}

} // namespace tramix
