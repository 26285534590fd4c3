#include "NameReservations.h"

#include <QDir>
#include <QFile>
#include <QSet>
#include <mutex>
#include <sys/stat.h>

namespace tramix::NameReservations {

namespace {

struct State {
    std::mutex lock;
    QSet<QString> reserved;
};

State& state() {
    static State instance;
    return instance;
}

// lstat, so that a dangling symbolic link also counts as taken.
bool existsOnDisk(const QString& path) {
    struct stat info;
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

struct SplitName {
    QString base;
    QString extension; // with its dot, or empty
};

SplitName split(const QString& name) {
    if (name.endsWith(u".tar.gz", Qt::CaseInsensitive))
        return {name.chopped(7), name.right(7)};
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0)
        return {name, QString()};
    return {name.left(dot), name.mid(dot)};
}

// File systems take names of up to 255 bytes; a long stem gives way, never the ending.
constexpr qsizetype longestName = 255;
constexpr qsizetype numberRoom = 4; // " 999"

} // namespace

QString unique(const QString& path) {
    const QString clean = QDir::cleanPath(path);
    const qsizetype slash = clean.lastIndexOf(u'/');
    const QString folder = clean.left(slash + 1);
    SplitName name = split(clean.mid(slash + 1));
    const bool tooLong = QFile::encodeName(clean.mid(slash + 1)).size() > longestName - numberRoom;
    if (tooLong)
        name.base = fittingStart(name.base, QFile::encodeName(name.extension).size() + numberRoom);

    State& s = state();
    std::lock_guard guard(s.lock);
    QString candidate = tooLong ? folder + name.base + name.extension : clean;
    for (int n = 2; s.reserved.contains(candidate) || existsOnDisk(candidate); ++n)
        candidate = folder + name.base + u' ' + QString::number(n) + name.extension;
    s.reserved.insert(candidate);
    return candidate;
}

QString fittingStart(const QString& name, qsizetype otherBytes) {
    QString start = name;
    while (start.size() > 1 && QFile::encodeName(start).size() + otherBytes > longestName)
        start.chop(start.back().isLowSurrogate() ? 2 : 1);
    return start;
}

void release(const QString& path) {
    State& s = state();
    std::lock_guard guard(s.lock);
    s.reserved.remove(QDir::cleanPath(path));
}

} // namespace tramix::NameReservations
