#include "EngineModule.h"

#include "ConversionError.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <dlfcn.h>
#include <mutex>

namespace tramix::EngineModule {

QString folder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&folder), &info) == 0 || !info.dli_fname)
        return {};
    return QFileInfo(QString::fromLocal8Bit(info.dli_fname)).absolutePath();
}

const void* open(const char* name, const char* entry) {
    // The tables live as long as the process; a library that failed is tried again next time.
    static std::mutex mutex;
    static QHash<QByteArray, const void*> opened;
    const std::lock_guard lock(mutex);
    const QByteArray key = QByteArray(name) + '/' + entry;
    if (const void* table = opened.value(key))
        return table;
    const QString path =
        QDir(folder()).filePath(QStringLiteral("lib%1.so").arg(QLatin1String(name)));
    // Each engine keeps its dependencies in a scope of its own, which also keeps symbol lookups
    // short.
    void* library = dlopen(QFile::encodeName(path).constData(), RTLD_LAZY | RTLD_LOCAL);
    if (!library) {
        throw ConversionError::failed(
            QStringLiteral("Ein Teil von Tramix fehlt oder ist beschädigt "
                           "(%1). Installieren Sie Tramix neu.")
                .arg(QString::fromLocal8Bit(dlerror())));
    }
    using Entry = const void* (*)();
    const auto hand = reinterpret_cast<Entry>(dlsym(library, entry));
    if (!hand) {
        throw ConversionError::failed(QStringLiteral("Ein Teil von Tramix passt nicht zu den "
                                                     "anderen (%1 fehlt in %2). Installieren Sie "
                                                     "Tramix neu.")
                                          .arg(QLatin1String(entry), path));
    }
    const void* table = hand();
    opened.insert(key, table);
    return table;
}

} // namespace tramix::EngineModule
