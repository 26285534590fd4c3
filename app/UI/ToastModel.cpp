#include "ToastModel.h"

#include <QFileInfo>

namespace tramix {

ToastModel::State ToastModel::State::makeWorking(const QString& text) {
    return {working, text, {}, 0, 0};
}

ToastModel::State ToastModel::State::makeDone(const QString& title, const QStringList& outputs) {
    return {done, title, outputs, 0, 0};
}

ToastModel::State ToastModel::State::makeFailed(const QString& message) {
    return {failed, message, {}, 0, 0};
}

QString ToastModel::State::title() const {
    return kind == failed ? QStringLiteral("Fehlgeschlagen") : text;
}

QString ToastModel::State::subtitle() const {
    switch (kind) {
    case working:
        if (total > 0)
            return QStringLiteral("%1 von %2 Dateien fertig").arg(finished).arg(total);
        return QStringLiteral("Läuft lokal auf deinem Rechner …");
    case done:
        if (outputs.size() == 1)
            return QFileInfo(outputs.first()).fileName();
        if (outputs.isEmpty())
            return {};
        return QStringLiteral("%1 Dateien · Klicken zum Zeigen").arg(outputs.size());
    case failed:
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

void ToastModel::setVisible(bool visible) {
    if (visible == visible_)
        return;
    visible_ = visible;
    Q_EMIT visibleChanged();
}

} // namespace tramix
