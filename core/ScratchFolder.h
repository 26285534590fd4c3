// A private folder for scratch work under the cache folder, removed with everything in it when
// the object goes, and by the next start's sweep when this process is killed first.
#pragma once

#include <QString>

namespace tramix {

class ScratchFolder {
public:
    // Throws ConversionError when the folder cannot be made.
    explicit ScratchFolder(const QString& prefix);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const QString& path() const { return path_; }
    QString filePath(const QString& relative) const { return path_ + u'/' + relative; }

private:
    QString path_;
};

} // namespace tramix
