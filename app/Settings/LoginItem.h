// Starting the app when the user logs in, through an XDG autostart entry.
#pragma once

#include <QString>

namespace tramix {

class LoginItem {
public:
    // `entryPath` is the autostart desktop entry; `program` the executable it starts.
    LoginItem(QString entryPath, QString program);

    // `$XDG_CONFIG_HOME/autostart/tramix.desktop` starting this process's own executable.
    static LoginItem standard();

    const QString& entryPath() const { return entryPath_; }

    // True when the entry exists and the desktop has not been told to skip it.
    bool isEnabled() const;

    // Writes or removes the entry. Throws std::runtime_error with the reason on failure.
    void setEnabled(bool enabled) const;

private:
    void writeEntry() const;
    void removeEntry() const;

    QString entryPath_;
    QString program_;
};

} // namespace tramix
