#include "InputAlias.h"

#include "ScratchFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStringDecoder>
#include <QUrl>
#include <memory>
#include <mutex>
#include <unistd.h>

namespace tramix::InputAlias {

namespace {

struct Links {
    std::mutex lock;
    std::unique_ptr<ScratchFolder> scratch; // made on the first unreadable name
    QHash<QString, QString> homes;          // link → folder of the file it leads to
    int count = 0;
};

Links& links() {
    static Links instance;
    return instance;
}

bool isUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    [[maybe_unused]] const QString text = decoder.decode(bytes);
    return !decoder.hasError();
}

} // namespace

QString forBytes(const QByteArray& raw) {
    if (isUtf8(raw))
        return QString::fromUtf8(raw);
    const qsizetype slash = raw.lastIndexOf('/');
    const QByteArray folder = raw.left(std::max<qsizetype>(slash, 0));
    const QString name = QString::fromLatin1(raw.mid(slash + 1));
    const QString target = QDir::current().absoluteFilePath(QString::fromUtf8(folder));
    Links& state = links();
    std::lock_guard guard(state.lock);
    try {
        if (!state.scratch)
            state.scratch = std::make_unique<ScratchFolder>(QStringLiteral("names-"));
    } catch (...) {
        return QString::fromUtf8(raw);
    }
    // One folder per link, so that two inputs of the same name stay apart.
    const QString linkFolder = state.scratch->filePath(QString::number(++state.count));
    const QString link = linkFolder + u'/' + name;
    const QByteArray absolute =
        raw.startsWith('/') ? raw : QFile::encodeName(QDir::currentPath()) + '/' + raw;
    if (!QDir().mkpath(linkFolder) ||
        ::symlink(absolute.constData(), QFile::encodeName(link).constData()) != 0)
        return QString::fromUtf8(raw);
    state.homes.insert(link, slash < 0 ? QDir::currentPath() : QDir::cleanPath(target));
    return link;
}

QString forFileUri(const QByteArray& uri) {
    const QUrl url = QUrl::fromEncoded(uri.trimmed());
    if (!url.isLocalFile())
        return {};
    return forBytes(QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()));
}

QString homeFolder(const QString& path) {
    const QString clean = QDir::cleanPath(path);
    {
        Links& state = links();
        std::lock_guard guard(state.lock);
        if (const auto home = state.homes.constFind(clean); home != state.homes.cend())
            return *home;
    }
    return QFileInfo(clean).absolutePath();
}

} // namespace tramix::InputAlias
