// The files parked on the floating shelf: references by path, never copies. The list is kept in
// a small JSON file, so it outlives the app; files that went away meanwhile stay listed as
// missing (a drive may come back) until the user removes them or clears the shelf.
#pragma once

#include <QDateTime>
#include <QFileSystemWatcher>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

namespace tramix {

class ShelfModel : public QObject {
    Q_OBJECT
public:
    struct Item {
        QString path; // absolute and clean, as parked
        bool present = false;
        bool folder = false;
        qint64 size = 0; // bytes of a present file; 0 for folders
        QDateTime modified;

        QString name() const;
        bool operator==(const Item&) const = default;
    };

    // The list lives in `storeFile`, read now and written after every change; an empty name
    // keeps it in memory only.
    explicit ShelfModel(const QString& storeFile, QObject* parent = nullptr);
    ~ShelfModel() override;

    // `$XDG_STATE_HOME/Tramix/shelf.json` (or under `~/.local/state`).
    static QString defaultStore();

    // In the order they were parked.
    const QList<Item>& items() const { return items_; }
    qsizetype count() const { return items_.size(); }
    bool isEmpty() const { return items_.isEmpty(); }
    // The files a drag may offer: those present now (asked of the file system at the call).
    QStringList presentPaths();
    qsizetype indexOf(const QString& path) const;

    // Parks the files that exist and are not parked yet, in order; returns how many were new.
    qsizetype add(const QStringList& paths);
    void removeAt(qsizetype index);
    void remove(const QString& path);
    void clear();
    // Asks the file system again about every parked file.
    void refresh();

    // A clean absolute path for `path`, the form the list compares and keeps.
    static QString normalized(const QString& path);

Q_SIGNALS:
    // Anything about the list changed: files added or removed, or a file went or came back.
    void changed();

private:
    static Item describe(const QString& path);
    void load();
    void save() const;
    void watch();
    void changedByUser();

    QString store_;
    QList<Item> items_;
    QFileSystemWatcher watcher_;
    QTimer settle_; // gathers a burst of file-system notices into one refresh
};

} // namespace tramix
