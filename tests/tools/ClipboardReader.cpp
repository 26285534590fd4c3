// Pastes from the X clipboard as another application would and prints what arrived: one JSON
// object from each offered MIME type to its data as UTF-8 text.
#include <QClipboard>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    QJsonObject offered;
    if (const QMimeData* data = QGuiApplication::clipboard()->mimeData()) {
        for (const QString& format : data->formats())
            offered.insert(format, QString::fromUtf8(data->data(format)));
    }
    std::fputs(QJsonDocument(offered).toJson(QJsonDocument::Compact).constData(), stdout);
    return 0;
}
