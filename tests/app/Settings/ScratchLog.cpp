#include "ScratchLog.h"

#include "Settings/DebugLog.h"

#include <QFile>

namespace tramix::test {

ScratchLog::ScratchLog(const QString& stateHome)
    : previous_(qgetenv("XDG_STATE_HOME"))
    , hadPrevious_(qEnvironmentVariableIsSet("XDG_STATE_HOME")) {
    DebugLog::flush();
    qputenv("XDG_STATE_HOME", stateHome.toLocal8Bit());
}

ScratchLog::~ScratchLog() {
    DebugLog::flush();
    if (hadPrevious_)
        qputenv("XDG_STATE_HOME", previous_);
    else
        qunsetenv("XDG_STATE_HOME");
}

QByteArray ScratchLog::content() const {
    DebugLog::flush();
    QFile file(DebugLog::path());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList ScratchLog::messages() const {
    QStringList messages;
    for (const QByteArray& line : content().split('\n')) {
        if (!line.isEmpty())
            messages.append(QString::fromUtf8(line.mid(14)));
    }
    return messages;
}

} // namespace tramix::test
