#include "OutputContext.h"

#include "FileKind.h"
#include "FolderTree.h"
#include "InputAlias.h"
#include "JobControl.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

namespace tramix {

namespace {

QString lastComponent(const QString& path) {
    return QFileInfo(QDir::cleanPath(path)).fileName();
}

QString withSuffix(const QString& name, const QString& suffix) {
    return suffix.isEmpty() ? name : name + u' ' + suffix;
}

} // namespace

QString outputStem(const QString& input) {
    const QString name = lastComponent(input);
    if (name.endsWith(u".tar.gz", Qt::CaseInsensitive))
        return name.chopped(7);
    const QString ext = pathExtension(name);
    return ext.isEmpty() ? name : name.chopped(ext.size() + 1);
}

bool OutputContext::cancelled() const {
    return control && control->isCancelled();
}

void OutputContext::throwIfCancelled() const {
    if (control)
        control->throwIfCancelled();
}

void OutputContext::reportFraction(double fraction) const {
    if (fileProgress)
        fileProgress(std::clamp(fraction, 0.0, 1.0));
}

QString OutputContext::directory(const QString& input) const {
    if (folder)
        return QDir::cleanPath(*folder);
    return InputAlias::homeFolder(input);
}

NameReservation OutputContext::destination(const QString& input, const QString& ext,
                                           const QString& suffix) const {
    const QString name = withSuffix(outputStem(input), suffix) + u'.' + ext;
    return NameReservation(QDir(directory(input)).filePath(name));
}

NameReservation OutputContext::destinationNamed(const QString& name, const QString& near) const {
    return NameReservation(QDir(directory(near)).filePath(name));
}

QString OutputContext::makeFolder(const QString& input, const QString& suffix) const {
    const QString name = lastComponent(input);
    const QString ext = pathExtension(name);
    const QString base = ext.isEmpty() ? name : name.chopped(ext.size() + 1);
    NameReservation folder(QDir(directory(input)).filePath(withSuffix(base, suffix)));
    return folder.commit(&FolderTree::createNew);
}

} // namespace tramix
