#include "ToastModel.h"

#include <QFileInfo>

namespace tramix {

ToastModel::State ToastModel::State::makeWorking(const QString& text, bool german) {
    return {working, text, {}, 0, 0, -1, false, german};
}

ToastModel::State ToastModel::State::makeDone(const QString& title, const QStringList& outputs,
                                              bool german) {
    return {done, title, outputs, 0, 0, -1, false, german};
}

ToastModel::State ToastModel::State::makeFailed(const QString& message, bool german) {
    return {failed, message, {}, 0, 0, -1, false, german};
}

ToastModel::State ToastModel::State::makeCancelled(const QString& note, bool german) {
    return {cancelled, note, {}, 0, 0, -1, false, german};
}

QString ToastModel::State::title() const {
    switch (kind) {
    case failed:
        return german ? QStringLiteral("Fehlgeschlagen") : QStringLiteral("Failed");
    case cancelled:
        return german ? QStringLiteral("Abgebrochen") : QStringLiteral("Cancelled");
    default:
        return text;
    }
}

QString ToastModel::State::subtitle() const {
    switch (kind) {
    case working:
        if (total > 0 && fraction >= 0)
            return (german ? QStringLiteral("%1 von %2 Dateien fertig · %3 %")
                           : QStringLiteral("%1 of %2 files done · %3 %"))
                .arg(finished)
                .arg(total)
                .arg(int(fraction * 100));
        if (total > 0)
            return (german ? QStringLiteral("%1 von %2 Dateien fertig")
                           : QStringLiteral("%1 of %2 files done"))
                .arg(finished)
                .arg(total);
        if (fraction >= 0)
            return (german ? QStringLiteral("%1 % fertig") : QStringLiteral("%1 % done"))
                .arg(int(fraction * 100));
        return german ? QStringLiteral("Läuft lokal auf deinem Rechner …")
                      : QStringLiteral("Running locally on your computer …");
    case done:
        if (outputs.size() == 1)
            return QFileInfo(outputs.first()).fileName();
        if (outputs.isEmpty())
            return {};
        return (german ? QStringLiteral("%1 Dateien · Klicken zum Zeigen")
                       : QStringLiteral("%1 files · Click to show"))
            .arg(outputs.size());
    case failed:
    case cancelled:
        return text;
    }
    return {};
}

ToastModel::ToastModel(QObject* parent)
    : QObject(parent) {}

void ToastModel::setState(const State& state) {
    if (state == state_)
        return;
    state_ = state;
    Q_EMIT stateChanged();
}

void ToastModel::setProgress(qsizetype finished, qsizetype total) {
    if (state_.kind != State::working)
        return;
    State next = state_;
    next.finished = finished;
    next.total = total;
    setState(next);
}

void ToastModel::setFraction(double fraction) {
    if (state_.kind != State::working)
        return;
    State next = state_;
    next.fraction = fraction;
    setState(next);
}

void ToastModel::setVisible(bool visible) {
    if (visible == visible_)
        return;
    visible_ = visible;
    Q_EMIT visibleChanged();
}

} // namespace tramix
