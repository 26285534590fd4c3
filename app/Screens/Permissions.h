// Whether this session lets the app see file drags in other programs, the Linux counterpart of
// an accessibility grant: there is nothing to grant, but a Wayland session or an X server
// without XFixes and XInput 2.1 hides them. Asked again every second, so a change shows.
#pragma once

#include "Platform/DragSession.h"

#include <QObject>
#include <QTimer>
#include <functional>

namespace tramix {

class Permissions : public QObject {
    Q_OBJECT
public:
    using Source = std::function<DragSession()>;

    // Reads `source` at once, then every `refreshIntervalMs`.
    explicit Permissions(Source source = Desktop::dragSessionSource(), QObject* parent = nullptr);

    bool isTrusted() const { return isTrusted_; }
    const DragSession& session() const { return session_; }

    // Told with the new answer when it changes.
    std::function<void(bool trusted)> onChange;

    // Reads the source again; a changed answer is logged and reported.
    void refresh();
    // Nothing can be granted from here: asks for what helps, the explanation of the session and
    // the way to an X11 one, through `requested`.
    void request();
    // Where the answer comes from from now on; read at the next refresh.
    void setSource(Source source);

    static constexpr int refreshIntervalMs = 1000;

Q_SIGNALS:
    // The session changed in any way (trusted or not); views show it anew.
    void changed();
    void requested();

private:
    Source source_;
    DragSession session_;
    bool isTrusted_ = false;
    QTimer timer_;
};

} // namespace tramix
