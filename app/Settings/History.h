// The few most recent jobs for the status menu, and how many files the app has converted so far.
#pragma once

#include <QDateTime>
#include <QObject>
#include <QSettings>
#include <QStringList>
#include <QUuid>
#include <memory>

namespace tramix {

class History : public QObject {
    Q_OBJECT
public:
    struct Entry {
        QUuid id = QUuid::createUuid();
        QString title;       // shown in the menu, usually the operation's title
        QStringList outputs; // the files the job wrote
        bool failed = false;
        QDateTime date = QDateTime::currentDateTime(); // when the job finished
    };

    static constexpr int capacity = 8;

    // The count lives in the user's own store (QSettings "Tramix"/"Tramix").
    explicit History(QObject* parent = nullptr);
    // The count lives in the INI file `storeFile`.
    explicit History(const QString& storeFile, QObject* parent = nullptr);
    ~History() override;

    // The app's one instance, made on first use; main thread only.
    static History& shared();

    // Newest first; kept for this run of the app only.
    const QList<Entry>& entries() const { return entries_; }
    // Files converted over all runs; a successful job without files counts one.
    qint64 total() const { return total_; }

    // Records one finished job; failed jobs are listed but not counted.
    void add(const Entry& entry);

Q_SIGNALS:
    void entriesChanged();
    void totalChanged();

private:
    History(std::unique_ptr<QSettings> store, QObject* parent);

    std::unique_ptr<QSettings> store_;
    QList<Entry> entries_;
    qint64 total_ = 0;
};

} // namespace tramix
