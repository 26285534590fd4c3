// Runs what the user chose on the wheel: off the interface thread, with a toast that tells how
// it goes, the completion sound and an entry in the history.
#pragma once

#include "CompletionSound.h"
#include "FileOperation.h"
#include "JobControl.h"
#include "JobResult.h"
#include "OutputContext.h"
#include "Settings/UILanguage.h"
#include "UI/ToastController.h"

#include <QHash>
#include <QObject>
#include <QPoint>
#include <functional>
#include <memory>
#include <optional>

namespace tramix {

class AppSettings;
class History;

class JobCenter : public QObject {
    Q_OBJECT
public:
    JobCenter(AppSettings& settings, History& history, QObject* parent = nullptr);
    ~JobCenter() override;

    ToastController& toast() { return toast_; }

    // Plays the completion sound; the desktop's own unless replaced.
    std::function<void()> playSound;
    // The language of its toasts; the operations bring their own titles.
    bool german = UILanguage::german();

    // Starts `operation` on `paths` and returns at once; the toast appears below `at`.
    void run(const FileOperation& operation, const QStringList& paths, QPoint at);
    // Stops the job whose working toast shows, as its cancel button does; what it half wrote is
    // removed and the toast says so.
    void cancelShown();

    // Reports files written elsewhere (an editor's save) as a finished job.
    void finished(const QString& title, const QStringList& outputs, QPoint near);

    // Where results go and how good they are, as the settings say now.
    OutputContext context() const;

    static QString format(double seconds);
    // The working toast's text: the title alone for one file, else with the count.
    static QString workingText(const QString& title, qsizetype count, bool german);
    // The failed toast's message, or none when nothing failed.
    static std::optional<QString> failureText(const JobResult& result, qsizetype inputs,
                                              bool german);

    // A job running longer than this shows how much of it is done.
    static constexpr int progressAfterMs = 700;

Q_SIGNALS:
    // After a job's result was reported (toast, sound, history), instant ones included.
    void jobFinished(const tramix::JobResult& result);

private:
    void runInstant(const FileOperation& operation, const QStringList& paths, QPoint at);
    void report(const FileOperation& operation, qsizetype inputs, const JobResult& result,
                QPoint at);

    AppSettings& settings_;
    History& history_;
    ToastController toast_;
    CompletionSound sound_;
    quint64 lastJob_ = 0; // the job whose working toast shows, if any
    quint64 jobsStarted_ = 0;
    QHash<quint64, std::shared_ptr<JobControl>> running_;
};

} // namespace tramix
