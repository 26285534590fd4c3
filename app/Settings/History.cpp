#include "History.h"

#include <algorithm>
#include <utility>

namespace tramix {

namespace {

const QString totalKey = QStringLiteral("totalConversions");

// A count that is missing, damaged or negative starts again from zero.
qint64 readTotal(const QVariant& value) {
    bool ok = false;
    const qint64 total = value.toLongLong(&ok);
    return ok && total >= 0 ? total : 0;
}

} // namespace

History::History(QObject* parent)
    : History(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                          QStringLiteral("Tramix"), QStringLiteral("Tramix")),
              parent) {}

History::History(const QString& storeFile, QObject* parent)
    : History(std::make_unique<QSettings>(storeFile, QSettings::IniFormat), parent) {}

History::History(std::unique_ptr<QSettings> store, QObject* parent)
    : QObject(parent)
    , store_(std::move(store))
    , total_(readTotal(store_->value(totalKey))) {}

History::~History() = default;

History& History::shared() {
    static History instance;
    return instance;
}

void History::add(const Entry& entry) {
    entries_.prepend(entry);
    if (entries_.size() > capacity)
        entries_.resize(capacity);
    Q_EMIT entriesChanged();
    if (entry.failed)
        return;
    total_ += std::max<qint64>(entry.outputs.size(), 1);
    store_->setValue(totalKey, total_);
    store_->sync();
    Q_EMIT totalChanged();
}

} // namespace tramix
