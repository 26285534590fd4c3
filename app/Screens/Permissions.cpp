#include "Permissions.h"

#include "Settings/DebugLog.h"

namespace tramix {

Permissions::Permissions(Source source, QObject* parent)
    : QObject(parent)
    , source_(std::move(source))
    , session_(source_ ? source_() : DragSession{})
    , isTrusted_(session_.supportsGlobalDrags()) {
    timer_.setInterval(refreshIntervalMs);
    connect(&timer_, &QTimer::timeout, this, &Permissions::refresh);
    timer_.start();
}

void Permissions::refresh() {
    const DragSession now = source_ ? source_() : DragSession{};
    if (now == session_)
        return;
    session_ = now;
    const bool trusted = now.supportsGlobalDrags();
    const bool trustChanged = trusted != isTrusted_;
    isTrusted_ = trusted;
    if (trustChanged)
        DebugLog::write(trusted ? QStringLiteral("Bedienungshilfen: erlaubt")
                                : QStringLiteral("Bedienungshilfen: nicht erlaubt"));
    Q_EMIT changed();
    if (trustChanged && onChange)
        onChange(trusted);
}

void Permissions::request() {
    DebugLog::write(
        QStringLiteral("Hilfe zur Drag-Erkennung angefragt (%1)").arg(session_.summary()));
    Q_EMIT requested();
}

void Permissions::setSource(Source source) {
    source_ = std::move(source);
}

} // namespace tramix
