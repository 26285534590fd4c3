#include "ScratchLog.h"

#include "Settings/DebugLog.h"
#include "app/Drag/DragHarness.h"

#include <QFile>
#include <gtest/gtest.h>

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

QString ScratchLog::waitFor(const QString& prefix, int timeoutMs) {
    QString found;
    waitUntil(
        [&] {
            const QStringList all = messages();
            for (; seen_ < all.size() && found.isEmpty(); ++seen_) {
                if (all[seen_].startsWith(prefix))
                    found = all[seen_];
            }
            return !found.isEmpty();
        },
        timeoutMs);
    if (found.isEmpty())
        ADD_FAILURE() << "no log line " << prefix.toStdString() << " in:\n"
                      << messages().join('\n').toStdString();
    return found;
}

} // namespace tramix::test
