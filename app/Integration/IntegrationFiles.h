// Writing and removing the files of the file-manager integrations: only ever Tramix's own,
// recognised by the marker line they carry.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace tramix::IntegrationFiles {

// Where the integrations go and what their entries start.
struct Setup {
    QString dataHome;            // $XDG_DATA_HOME, else ~/.local/share
    QString configHome;          // $XDG_CONFIG_HOME, else ~/.config
    QString program;             // the tramix the entries run
    bool nautilusPython = false; // python3-nautilus is there: an extension rather than scripts
};

// The user's folders, the running tramix ("tramix" when it is the installed one) and whether
// nautilus-python is installed.
Setup userSetup();

struct GeneratedFile {
    QString path;
    QByteArray bytes;
    bool executable = false;
};

// Whether the file at `path` holds the marker line.
bool isTramixFile(const QString& path);

// Throws ConversionError naming the first file that exists and is not Tramix's.
void checkOwnership(const QList<GeneratedFile>& files);

// Writes every file, making its folders (marked as Tramix's); throws ConversionError on failure.
void write(const QList<GeneratedFile>& files);

// Removes the files under `folder` (recursively) whose names start with `prefix` and that hold
// the marker, then the folders that Tramix made and that became empty.
void removeMarked(const QString& folder, const QString& prefix);

// Removes `folder` and its parents while they hold nothing but Tramix's mark: folders the user
// had before stay.
void pruneEmpty(const QString& folder);

// One argument quoted for a shell (and for GLib's argument parser, which follows its rules).
QString shellQuoted(const QString& argument);

// One argument quoted for an Exec key, with the escaping of the key file's strings on top.
QString execQuoted(const QString& argument);

} // namespace tramix::IntegrationFiles
