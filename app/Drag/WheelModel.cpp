#include "WheelModel.h"

#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"
#include "WheelGeometry.h"

#include <QFileInfo>
#include <algorithm>

namespace tramix {

WheelModel::WheelModel(QObject* parent)
    : QObject(parent) {}

template <typename T> void WheelModel::assign(T& field, const T& value) {
    if (field == value)
        return;
    field = value;
    Q_EMIT changed();
}

void WheelModel::setMode(WheelMode mode) {
    assign(mode_, mode);
}
void WheelModel::setKey(ModifierKey key) {
    assign(key_, key);
}
void WheelModel::setPage(int page) {
    assign(page_, page);
}
void WheelModel::setHovered(std::optional<int> hovered) {
    assign(hovered_, hovered);
}
void WheelModel::setFileLabel(const QString& label) {
    assign(fileLabel_, label);
}
void WheelModel::setVisible(bool visible) {
    assign(visible_, visible);
}

// Operations compare by id only, so a list with new work under old ids still counts as a change.
void WheelModel::setOperations(const QList<FileOperation>& operations) {
    operations_ = operations;
    Q_EMIT changed();
}

int WheelModel::pageCount() const {
    const auto perPage = WheelGeometry::operationsPerPage;
    return std::max<int>(1, (operations_.size() + perPage - 1) / perPage);
}

QList<FileOperation> WheelModel::pageOperations() const {
    const qsizetype first = qsizetype(page_) * WheelGeometry::operationsPerPage;
    if (first >= operations_.size() || first < 0)
        return {};
    const qsizetype end =
        std::min<qsizetype>(first + WheelGeometry::operationsPerPage, operations_.size());
    return operations_.mid(first, end - first);
}

std::optional<FileOperation> WheelModel::hoveredOperation() const {
    if (!hovered_)
        return std::nullopt;
    const QList<FileOperation> page = pageOperations();
    if (*hovered_ < 0 || *hovered_ >= page.size())
        return std::nullopt;
    return page[*hovered_];
}

int WheelModel::slots() const {
    return WheelGeometry::slots(int(pageOperations().size()));
}

void WheelModel::nextPage() {
    const int count = pageCount();
    if (count < 2)
        return;
    page_ = (page_ + 1) % count;
    hovered_.reset();
    Q_EMIT changed();
}

QString WheelModel::labelForFiles(const QStringList& paths, bool german) {
    if (paths.size() == 1)
        return QFileInfo(paths.first()).fileName();
    return (german ? QStringLiteral("%1 Dateien") : QStringLiteral("%1 files")).arg(paths.size());
}

namespace {

// How many conversions the illustration shows: one page, with room to spare.
constexpr qsizetype demoConversions = 6;

} // namespace

std::unique_ptr<WheelModel> WheelModel::demo(WheelMode mode, const QString& file,
                                             Language language) {
    QList<FileOperation> operations =
        OperationRegistry::operations(mode, {file}, nullptr, language);
    if (mode == WheelMode::convert)
        operations = operations.first(std::min(demoConversions, operations.size()));
    for (FileOperation& operation : operations) {
        operation.id.prepend(QStringLiteral("demo."));
        operation.perform = [](const QStringList&, const OutputContext&) -> QStringList {
            throw ConversionError::unsupported(QStringLiteral("Beispiel-Rad"));
        };
    }
    auto model = std::make_unique<WheelModel>();
    model->setMode(mode);
    model->setOperations(operations);
    model->setFileLabel(file);
    model->setVisible(true);
    return model;
}

} // namespace tramix
