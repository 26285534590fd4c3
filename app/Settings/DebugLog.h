// An always-on diagnostic log of the drag-and-wheel chain, read only when a user sends it in.
#pragma once

#include <QString>
#include <chrono>

namespace tramix {

class DebugLog {
public:
    DebugLog() = delete;

    // `$XDG_STATE_HOME/Tramix/Tramix.log` (or `~/.local/state/Tramix/Tramix.log`), read at each
    // call so that the log follows the environment it is in.
    static QString path();

    // Appends "{HH:mm:ss.SSS}  {message}" as one line. Returns at once from any thread; the line is
    // written later on the log's own thread, in call order. Never fails: a log that cannot be
    // written loses the line silently.
    static void write(const QString& message);

    // Waits until every line written before this call is on disk (or was given up on). False when
    // `timeout` passed first.
    static bool flush(std::chrono::milliseconds timeout = std::chrono::seconds(5));
};

} // namespace tramix
