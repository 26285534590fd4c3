// What the toast says: a job that runs (with a cancel control), one that is done (a click shows
// its files), one that failed or one the user stopped. Views repaint from its signals.
#pragma once

#include "Settings/UILanguage.h"

#include <QObject>
#include <QStringList>

namespace tramix {

class ToastModel : public QObject {
    Q_OBJECT
public:
    struct State {
        enum Kind { working, done, failed, cancelled };

        Kind kind = working;
        QString text;        // working: what runs; done: the title; failed: the message
        QStringList outputs; // done only
        // Working only: how many files have ended of how many the job has; total 0 shows none.
        qsizetype finished = 0;
        qsizetype total = 0;
        // Working only: how much of the whole job is done, 0 to 1; below 0 when not known.
        double fraction = -1;
        // Working only: the card offers to stop the job.
        bool cancellable = false;
        bool german = true; // the language of the words the toast adds

        static State makeWorking(const QString& text, bool german = UILanguage::german());
        static State makeDone(const QString& title, const QStringList& outputs,
                              bool german = UILanguage::german());
        static State makeFailed(const QString& message, bool german = UILanguage::german());
        static State makeCancelled(const QString& note, bool german = UILanguage::german());

        QString title() const;
        QString subtitle() const;
        // Only a done toast with files to show answers a click.
        bool clickable() const { return kind == done && !outputs.isEmpty(); }
        bool operator==(const State&) const = default;
    };

    explicit ToastModel(QObject* parent = nullptr);

    const State& state() const { return state_; }
    void setState(const State& state);
    void setProgress(qsizetype finished, qsizetype total);
    void setFraction(double fraction);

    // Drives the fade; the panel leaves the screen a moment after this turns false.
    bool visible() const { return visible_; }
    void setVisible(bool visible);

Q_SIGNALS:
    void stateChanged();
    void visibleChanged();

private:
    State state_;
    bool visible_ = false;
};

} // namespace tramix
