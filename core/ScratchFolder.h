// A private folder in the system's temporary folder, named "{prefix}{UUID}", removed with
// everything in it when the object goes.
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
