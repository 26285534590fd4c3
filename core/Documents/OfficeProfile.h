// A LibreOffice profile of Tramix's own under the cache folder, never the user's: LibreOffice
// hands a second start with the same profile over to the running one, so each conversion that
// runs at the same time (in this process or another) holds a profile of its own while it runs.
#pragma once

#include <QString>

namespace tramix {

class OfficeProfile {
public:
    // Takes the first profile that no other conversion holds, waiting when all are held.
    // Throws ConversionError when the cache folder cannot be written.
    OfficeProfile();
    ~OfficeProfile();
    OfficeProfile(const OfficeProfile&) = delete;
    OfficeProfile& operator=(const OfficeProfile&) = delete;

    // The "file:" URL that LibreOffice's `-env:UserInstallation=` takes.
    QString url() const;

private:
    QString path_;
    int lock_ = -1;
};

} // namespace tramix
