#include "ShelfModel.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QSet>

namespace tramix {

namespace {

const QString filesKey = QStringLiteral("files");
constexpr int settleMs = 120;

QString stateHome() {
    const QString configured = qEnvironmentVariable("XDG_STATE_HOME");
    if (QDir::isAbsolutePath(configured))
        return configured;
    return QDir::homePath() + QStringLiteral("/.local/state");
}

} // namespace

QString ShelfModel::Item::name() const {
    return QFileInfo(path).fileName();
}

ShelfModel::ShelfModel(const QString& storeFile, QObject* parent)
    : QObject(parent)
    , store_(storeFile) {
    settle_.setSingleShot(true);
    settle_.setInterval(settleMs);
    connect(&settle_, &QTimer::timeout, this, &ShelfModel::refresh);
    connect(&watcher_, &QFileSystemWatcher::fileChanged, &settle_, qOverload<>(&QTimer::start));
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, &settle_,
            qOverload<>(&QTimer::start));
    load();
    watch();
}

ShelfModel::~ShelfModel() = default;

QString ShelfModel::defaultStore() {
    return stateHome() + QStringLiteral("/Tramix/shelf.json");
}

QString ShelfModel::normalized(const QString& path) {
    if (path.isEmpty())
        return {};
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

ShelfModel::Item ShelfModel::describe(const QString& path) {
    Item item;
    item.path = path;
    // Not cached: the shelf must see a file that went away a moment ago.
    const QFileInfo info(path);
    item.present = info.exists();
    if (item.present) {
        item.folder = info.isDir();
        item.size = item.folder ? 0 : info.size();
        item.modified = info.lastModified();
    }
    return item;
}

QStringList ShelfModel::presentPaths() {
    refresh();
    QStringList paths;
    for (const Item& item : items_) {
        if (item.present)
            paths.append(item.path);
    }
    return paths;
}

qsizetype ShelfModel::indexOf(const QString& path) const {
    const QString wanted = normalized(path);
    for (qsizetype i = 0; i < items_.size(); ++i) {
        if (items_[i].path == wanted)
            return i;
    }
    return -1;
}

qsizetype ShelfModel::add(const QStringList& paths) {
    qsizetype added = 0;
    for (const QString& raw : paths) {
        const QString path = normalized(raw);
        if (path.isEmpty() || indexOf(path) >= 0)
            continue;
        Item item = describe(path);
        if (!item.present)
            continue; // nothing to park
        items_.append(item);
        ++added;
    }
    if (added > 0)
        changedByUser();
    return added;
}

void ShelfModel::removeAt(qsizetype index) {
    if (index < 0 || index >= items_.size())
        return;
    items_.removeAt(index);
    changedByUser();
}

void ShelfModel::remove(const QString& path) {
    removeAt(indexOf(path));
}

void ShelfModel::clear() {
    if (items_.isEmpty())
        return;
    items_.clear();
    changedByUser();
}

void ShelfModel::refresh() {
    bool differs = false;
    for (Item& item : items_) {
        Item now = describe(item.path);
        if (now != item) {
            item = std::move(now);
            differs = true;
        }
    }
    if (!differs)
        return;
    watch();
    Q_EMIT changed();
}

void ShelfModel::changedByUser() {
    save();
    watch();
    Q_EMIT changed();
}

// The files themselves tell of changes to their contents; their folders of files that went,
// were renamed or came back.
void ShelfModel::watch() {
    QSet<QString> wanted;
    for (const Item& item : items_) {
        if (item.present)
            wanted.insert(item.path);
        const QString folder = QFileInfo(item.path).path();
        if (QFileInfo::exists(folder))
            wanted.insert(folder);
    }
    QStringList watched = watcher_.files() + watcher_.directories();
    QStringList gone;
    for (const QString& path : watched) {
        if (!wanted.contains(path))
            gone.append(path);
    }
    if (!gone.isEmpty())
        watcher_.removePaths(gone);
    const QSet<QString> have(watched.begin(), watched.end());
    QStringList fresh;
    for (const QString& path : wanted) {
        if (!have.contains(path))
            fresh.append(path);
    }
    if (!fresh.isEmpty())
        watcher_.addPaths(fresh);
}

void ShelfModel::load() {
    if (store_.isEmpty())
        return;
    QFile file(store_);
    if (!file.open(QIODevice::ReadOnly))
        return;
    // A damaged list starts empty rather than stopping the app.
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    for (const QJsonValue& value : document.object().value(filesKey).toArray()) {
        const QString path = value.toString();
        if (QDir::isAbsolutePath(path) && indexOf(path) < 0)
            items_.append(describe(QDir::cleanPath(path)));
    }
}

void ShelfModel::save() const {
    if (store_.isEmpty())
        return;
    QJsonArray files;
    for (const Item& item : items_)
        files.append(item.path);
    QDir().mkpath(QFileInfo(store_).path());
    QSaveFile file(store_);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(QJsonDocument(QJsonObject{{filesKey, files}}).toJson(QJsonDocument::Indented));
        file.commit();
    }
}

} // namespace tramix
