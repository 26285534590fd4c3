#include "JobCenter.h"

#include "DurationText.h"
#include "JobRunner.h"
#include "Settings/AppSettings.h"
#include "Settings/DebugLog.h"
#include "Settings/History.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>
#include <atomic>
#include <memory>

namespace tramix {

JobCenter::JobCenter(AppSettings& settings, History& history, QObject* parent)
    : QObject(parent)
    , playSound([this] { sound_.play(); })
    , settings_(settings)
    , history_(history) {
    toast_.onCancel = [this] { cancelShown(); };
}

JobCenter::~JobCenter() = default;

OutputContext JobCenter::context() const {
    OutputContext context;
    if (!settings_.writeNextToOriginal())
        context.folder = settings_.outputFolder();
    context.quality = settings_.quality();
    return context;
}

QString JobCenter::format(double seconds) {
    return durationText(seconds);
}

QString JobCenter::workingText(const QString& title, qsizetype count, bool german) {
    if (count == 1)
        return title;
    return (german ? QStringLiteral("%1 · %2 Dateien") : QStringLiteral("%1 · %2 files"))
        .arg(title)
        .arg(count);
}

std::optional<QString> JobCenter::failureText(const JobResult& result, qsizetype inputs,
                                              bool german) {
    if (result.failures.isEmpty())
        return std::nullopt;
    if (result.failures.size() == 1)
        return result.failures.first().message;
    return (german ? QStringLiteral("%1 von %2 fehlgeschlagen: %3")
                   : QStringLiteral("%1 of %2 failed: %3"))
        .arg(result.failures.size())
        .arg(inputs)
        .arg(result.failures.first().message);
}

void JobCenter::run(const FileOperation& operation, const QStringList& paths, QPoint at) {
    DebugLog::write(
        QStringLiteral("Auftrag %1 mit %2 Datei(en)").arg(operation.id).arg(paths.size()));
    if (operation.style == OperationStyle::instant) {
        runInstant(operation, paths, at);
        return;
    }
    const quint64 job = ++jobsStarted_;
    ToastModel::State working =
        ToastModel::State::makeWorking(workingText(operation.title, paths.size(), german), german);
    working.cancellable = true;
    toast_.show(working, at);
    lastJob_ = job;
    auto control = std::make_shared<JobControl>();
    running_.insert(job, control);
    OutputContext jobContext = context();
    jobContext.control = control;

    // The watcher is the centre's child: when the centre goes first, the result goes nowhere.
    auto* watcher = new QFutureWatcher<JobResult>(this);
    QElapsedTimer clock;
    clock.start();
    // Reports go through the application object, which outlives every job (it waits for them
    // when it ends); the centre itself may be gone by the time one arrives.
    JobRunner::Progress progress = [centre = QPointer<JobCenter>(this), job,
                                    clock](qsizetype done, qsizetype total) {
        if (total < 2 || clock.elapsed() < progressAfterMs)
            return;
        QMetaObject::invokeMethod(QCoreApplication::instance(), [centre, job, done, total] {
            if (centre && centre->lastJob_ == job)
                centre->toast_.model().setProgress(done, total);
        });
    };
    // Whole percents are enough for the ring and its text; finer steps would only repaint.
    auto shownPercent = std::make_shared<std::atomic<int>>(-1);
    JobRunner::Fraction fraction = [centre = QPointer<JobCenter>(this), job, clock,
                                    shownPercent](double part) {
        const int percent = int(part * 100);
        if (clock.elapsed() < progressAfterMs || shownPercent->exchange(percent) == percent)
            return;
        QMetaObject::invokeMethod(QCoreApplication::instance(), [centre, job, part] {
            if (!centre || centre->lastJob_ != job)
                return;
            centre->toast_.model().setFraction(part);
            const QPoint cancel = centre->toast_.cancelGeometry().center();
            DebugLog::write(QStringLiteral("Toast: Fortschritt %1 %, Abbrechen bei %2,%3")
                                .arg(int(part * 100))
                                .arg(cancel.x())
                                .arg(cancel.y()));
        });
    };
    connect(watcher, &QFutureWatcher<JobResult>::finished, this,
            [this, watcher, operation, inputs = paths.size(), at, job] {
                const JobResult result = watcher->result();
                watcher->deleteLater();
                running_.remove(job);
                if (lastJob_ == job)
                    lastJob_ = 0;
                report(operation, inputs, result, at);
                Q_EMIT jobFinished(result);
            });
    watcher->setFuture(QtConcurrent::run([operation, paths, jobContext, progress, fraction] {
        return JobRunner::run(operation, paths, jobContext, progress, fraction);
    }));
}

void JobCenter::cancelShown() {
    if (const auto control = running_.value(lastJob_)) {
        DebugLog::write(QStringLiteral("Auftrag abgebrochen"));
        control->cancel();
    }
}

// Instant operations drive the clipboard and windows, so they run here on the interface
// thread. They give their own feedback when they work; when one fails, the toast says why.
void JobCenter::runInstant(const FileOperation& operation, const QStringList& paths, QPoint at) {
    const JobResult result = JobRunner::run(operation, paths, context());
    for (const JobResult::Failure& failure : result.failures)
        DebugLog::write(QStringLiteral("%1: %2").arg(operation.id, failure.message));
    if (const auto failure = failureText(result, paths.size(), german))
        toast_.show(ToastModel::State::makeFailed(*failure, german), at);
    Q_EMIT jobFinished(result);
}

void JobCenter::report(const FileOperation& operation, qsizetype inputs, const JobResult& result,
                       QPoint at) {
    DebugLog::write(QStringLiteral("Auftrag %1 beendet: %2 Ergebnis(se), %3 Fehler, %4")
                        .arg(operation.id)
                        .arg(result.outputs.size())
                        .arg(result.failures.size())
                        .arg(format(result.duration)));
    History::Entry entry;
    entry.title = operation.title;
    entry.outputs = result.outputs;
    entry.failed = !result.failures.isEmpty() || result.cancelled;
    if (result.cancelled) {
        const QString note =
            result.outputs.isEmpty()
                ? (german ? QStringLiteral("Es ist keine halbfertige Datei geblieben.")
                          : QStringLiteral("No half-written file was left behind."))
                : (german ? QStringLiteral("%1 von %2 Dateien sind fertig geworden.")
                          : QStringLiteral("%1 of %2 files were finished."))
                      .arg(result.outputs.size())
                      .arg(inputs);
        toast_.show(ToastModel::State::makeCancelled(note, german), at);
    } else if (const auto failure = failureText(result, inputs, german)) {
        toast_.show(ToastModel::State::makeFailed(*failure, german), at);
    } else {
        const QString done = german ? QStringLiteral("Fertig in ") : QStringLiteral("Done in ");
        toast_.show(
            ToastModel::State::makeDone(done + format(result.duration), result.outputs, german),
            at);
        if (settings_.playSound() && playSound)
            playSound();
    }
    history_.add(entry);
    DebugLog::write(
        QStringLiteral("Verlauf: %1%2")
            .arg(entry.title, entry.failed ? QStringLiteral(" (fehlgeschlagen)") : QString()));
}

void JobCenter::finished(const QString& title, const QStringList& outputs, QPoint near) {
    toast_.show(ToastModel::State::makeDone(title, outputs, german), near);
    if (settings_.playSound() && playSound)
        playSound();
    History::Entry entry;
    entry.title = title;
    entry.outputs = outputs;
    history_.add(entry);
    DebugLog::write(QStringLiteral("Verlauf: %1").arg(title));
}

} // namespace tramix
