#include "ToastModel.h"

#include <QFileInfo>

namespace tramix {

ToastModel::State ToastModel::State::makeWorking(const QString& text) {
    return {working, text, {}, 0, 0, -1, false};
}

ToastModel::State ToastModel::State::makeDone(const QString& title, const QStringList& outputs) {
    return {done, title, outputs, 0, 0, -1, false};
}

ToastModel::State ToastModel::State::makeFailed(const QString& message) {
    return {failed, message, {}, 0, 0, -1, false};
}

ToastModel::State ToastModel::State::makeCancelled(const QString& note) {
    return {cancelled, note, {}, 0, 0, -1, false};
}

QString ToastModel::State::title() const {
    switch (kind) {
    case failed:
        return QStringLiteral("Fehlgeschlagen");
    case cancelled:
        return QStringLiteral("Abgebrochen");
    default:
        return text;
    }
}

QString ToastModel::State::subtitle() const {
    switch (kind) {
    case working:
        if (total > 0 && fraction >= 0)
            return QStringLiteral("%1 von %2 Dateien fertig · %3 %")
                .arg(finished)
                .arg(total)
                .arg(int(fraction * 100));
        if (total > 0)
            return QStringLiteral("%1 von %2 Dateien fertig").arg(finished).arg(total);
        if (fraction >= 0)
            return QStringLiteral("%1 % fertig").arg(int(fraction * 100));
        return QStringLiteral("Läuft lokal auf deinem Rechner …");
    case done:
        if (outputs.size() == 1)
            return QFileInfo(outputs.first()).fileName();
        if (outputs.isEmpty())
            return {};
        return QStringLiteral("%1 Dateien · Klicken zum Zeigen").arg(outputs.size());
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
