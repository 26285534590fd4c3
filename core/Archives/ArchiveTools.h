// The archive tools and what their words mean, shared by listing, extracting and packing.
#pragma once

#include <QProcessEnvironment>
#include <QString>

namespace tramix::ArchiveConverter {

inline const QString tarTool = QStringLiteral("/usr/bin/tar");
inline const QString zipTool = QStringLiteral("/usr/bin/zip");
inline const QString unzipTool = QStringLiteral("/usr/bin/unzip");

QString nameOf(const QString& path);

// "„{name}“ ist beschädigt." and the other sentences about one archive or file.
QString damaged(const QString& archive);
QString notExtracted(const QString& archive, const QString& reason);
QString couldNotExtract(const QString& archive, const QString& reason);
QString couldNotRead(const QString& path, const QString& reason);
QString couldNotWrite(const QString& path, const QString& reason);

[[noreturn]] void fail(const QString& sentence);
[[noreturn]] void failEmpty();

// The tools speak English, so that their error output can be read here, and treat names as UTF-8.
QProcessEnvironment toolEnvironment();

// The C library's cause that a tool's error output names, or 0; the ones first in the list win.
int causeIn(const QString& errorOutput);

// Why writing failed, for causes the user can do something about; empty for the others.
QString writeProblem(int cause);

// A write that fell short without a reason: a full disk, or a disk with room left that does not
// take a file that large.
QString shortWriteProblem(const QString& folder);

} // namespace tramix::ArchiveConverter
