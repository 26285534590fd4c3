// The catalogue's operations grouped by the kind of file they fit, for --help and the man page.
#pragma once

#include "Catalogue/CatalogueRow.h"

#include <QString>
#include <vector>

namespace tramix {

struct OperationGroup {
    QString title; // German: "Bilder", "PDFs", …, "Alle Dateien"
    std::vector<const CatalogueRow*> rows;

    // One group per kind that has operations, in the kinds' order, then the ones for any files.
    static std::vector<OperationGroup> byKind();
    // The length of the longest id in the groups, to line the details up after it.
    static qsizetype idWidth(const std::vector<OperationGroup>& groups);
};

} // namespace tramix
