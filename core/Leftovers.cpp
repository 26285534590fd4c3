#include "Leftovers.h"

#include "ConversionError.h"
#include "FolderTree.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QUuid>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace tramix::Leftovers {

namespace {

const QString registerFolderName = QStringLiteral("running");
const QString scratchFolderName = QStringLiteral("scratch");

// "{pid}-{start time}": a pid alone may belong to another program by the time of the sweep.
QString ownerOf(const QString& pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return {};
    const QByteArray line = stat.readAll();
    // The command name in brackets may hold blanks; the fields after it do not.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    constexpr int startTimeField = 19; // the 22nd field of the line, counted after the name
    if (fields.size() <= startTimeField)
        return {};
    return pid + u'-' + QString::fromLatin1(fields[startTimeField]);
}

const QString& thisOwner() {
    static const QString owner = ownerOf(QString::number(::getpid()));
    return owner;
}

bool ownerAlive(const QString& owner) {
    const QString pid = owner.section(u'-', 0, 0);
    return !pid.isEmpty() && ownerOf(pid) == owner;
}

// The register of this process: one path after another, each ended by a zero byte (names may
// hold line feeds). Emptied whenever nothing is listed, so it never grows over a long session.
struct Register {
    std::mutex lock;
    QByteArray path; // kept: the statics it is made from may be gone when this one goes
    int fd = -1;
    int live = 0;

    ~Register() {
        if (fd >= 0)
            ::unlink(path.constData());
    }

    void add(const QString& entry) {
        std::lock_guard guard(lock);
        if (fd < 0) {
            const QString folder = cacheFolder() + u'/' + registerFolderName;
            QDir().mkpath(folder);
            path = QFile::encodeName(folder + u'/' + thisOwner());
            fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        }
        ++live;
        if (fd < 0)
            return; // without a register only the sweep after a kill is lost
        const QByteArray line = QFile::encodeName(entry) + '\0';
        [[maybe_unused]] const ssize_t written = ::write(fd, line.constData(), size_t(line.size()));
    }

    void remove() {
        std::lock_guard guard(lock);
        if (--live == 0 && fd >= 0) {
            [[maybe_unused]] const int truncated = ::ftruncate(fd, 0);
        }
    }
};

Register& theRegister() {
    static Register instance;
    return instance;
}

bool isStagingName(const QByteArray& path) {
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    return name.startsWith('.') && name.endsWith(".part");
}

void removeListed(const QString& registerPath) {
    QFile file(registerPath);
    if (file.open(QIODevice::ReadOnly)) {
        for (const QByteArray& path : file.readAll().split('\0')) {
            struct stat info;
            if (!isStagingName(path) || ::lstat(path.constData(), &info) != 0)
                continue;
            if (S_ISDIR(info.st_mode))
                FolderTree::remove(QFile::decodeName(path));
            else
                ::unlink(path.constData());
        }
    }
    QFile::remove(registerPath);
}

} // namespace

QString cacheFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/Tramix");
}

Entry::Entry(const QString& path)
    : live_(true) {
    theRegister().add(path);
}

Entry::~Entry() {
    if (live_)
        theRegister().remove();
}

Entry::Entry(Entry&& other) noexcept
    : live_(std::exchange(other.live_, false)) {}

QString makeScratchFolder(const QString& prefix) {
    const QString path = QStringLiteral("%1/%2/%3.%4%5")
                             .arg(cacheFolder(), scratchFolderName, thisOwner(), prefix,
                                  QUuid::createUuid().toString(QUuid::WithoutBraces));
    if (!QDir().mkpath(path)) {
        throw ConversionError::failed(
            QStringLiteral("Der Arbeitsordner im Cache-Ordner konnte nicht angelegt werden."));
    }
    return path;
}

void sweep() {
    const QDir registers(cacheFolder() + u'/' + registerFolderName);
    for (const QString& owner : registers.entryList(QDir::Files | QDir::Hidden)) {
        if (!ownerAlive(owner))
            removeListed(registers.filePath(owner));
    }
    const QDir scratch(cacheFolder() + u'/' + scratchFolderName);
    for (const QString& folder :
         scratch.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
        if (!ownerAlive(folder.section(u'.', 0, 0)))
            FolderTree::remove(scratch.filePath(folder));
    }
}

} // namespace tramix::Leftovers
