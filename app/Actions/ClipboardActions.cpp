#include "ClipboardActions.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

namespace tramix::ClipboardActions {

namespace {

QByteArrayList fileUris(const QStringList& paths) {
    QByteArrayList uris;
    for (const QString& path : paths)
        uris.append(QUrl::fromLocalFile(path).toEncoded());
    return uris;
}

void replaceClipboard(QMimeData* data) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setMimeData(data); // the clipboard owns it from here and serves it while it lives
}

} // namespace

QMimeData* fileData(const QStringList& paths) {
    const QByteArrayList uris = fileUris(paths);
    auto* data = new QMimeData;
    QByteArray uriList;
    for (const QByteArray& uri : uris)
        uriList += uri + "\r\n";
    data->setData(QStringLiteral("text/uri-list"), uriList);
    // Nautilus, Nemo and Caja paste from this one; without "copy" they would not know the verb.
    data->setData(QStringLiteral("x-special/gnome-copied-files"), "copy\n" + uris.join('\n'));
    data->setText(paths.join(u'\n'));
    return data;
}

void copyFiles(const QStringList& paths) {
    replaceClipboard(fileData(paths));
}

void copyPaths(const QStringList& paths) {
    auto* data = new QMimeData;
    data->setText(paths.join(u'\n'));
    replaceClipboard(data);
}

} // namespace tramix::ClipboardActions
