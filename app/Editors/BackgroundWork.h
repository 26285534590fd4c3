// Editor work off the interface thread: the result, or the user's sentence for what went wrong,
// comes back on the interface thread for as long as its owner lives.
#pragma once

#include "ConversionError.h"

#include <QFutureWatcher>
#include <QObject>
#include <QString>
#include <QtConcurrent>
#include <optional>
#include <utility>

namespace tramix {

template <typename T> struct Outcome {
    std::optional<T> value;
    QString error; // when there is no value
};

// Runs `work` on the shared thread pool and hands its outcome to `done` on `owner`'s thread;
// nothing is handed over once `owner` is gone.
template <typename Work, typename Done> void runInBackground(QObject* owner, Work work, Done done) {
    using T = decltype(work());
    auto* watcher = new QFutureWatcher<Outcome<T>>(owner);
    QObject::connect(watcher, &QFutureWatcher<Outcome<T>>::finished, owner, [watcher, done] {
        const Outcome<T> outcome = watcher->result();
        watcher->deleteLater();
        done(outcome);
    });
    watcher->setFuture(QtConcurrent::run([work = std::move(work)]() -> Outcome<T> {
        try {
            return {work(), {}};
        } catch (const std::exception& error) {
            return {std::nullopt, describeError(error)};
        }
    }));
}

} // namespace tramix
