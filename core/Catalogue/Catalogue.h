// Every operation of every wheel, one declarative row each, in the order the wheels show them.
#pragma once

#include "CatalogueRow.h"

#include <QStringView>
#include <vector>

namespace tramix::Catalogue {

const std::vector<CatalogueRow>& rows();

// The first row with this id; null for an unknown one.
const CatalogueRow* find(QStringView id);

} // namespace tramix::Catalogue
