// A Qt application that drags files (or text, with --text) out of its window, as a file manager
// would. It offers copy and move; if the drop answers "move" it deletes the files, as a file
// manager's move would, so a test can see that the wheel never asks for it.
//   QtDragSource [--text] files…
// Prints "ready X Y" (the window's centre on screen) and, after each drag, "result ACTION".
#include <QApplication>
#include <QDrag>
#include <QFile>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>
#include <cstdio>

namespace {

class Source : public QWidget {
public:
    Source(QStringList files, bool text)
        : files_(std::move(files))
        , text_(text) {
        setWindowTitle(QStringLiteral("QtDragSource"));
        setFixedSize(160, 160);
        move(40, 40);
    }

protected:
    void mousePressEvent(QMouseEvent* event) override { start_ = event->position().toPoint(); }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (!(event->buttons() & Qt::LeftButton) ||
            (event->position().toPoint() - start_).manhattanLength() < 4)
            return;
        auto* data = new QMimeData;
        if (text_) {
            data->setText(QStringLiteral("just some text"));
        } else {
            QList<QUrl> urls;
            for (const QString& file : files_)
                urls.append(QUrl::fromLocalFile(file));
            data->setUrls(urls);
        }
        auto* drag = new QDrag(this);
        drag->setMimeData(data);
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
        const char* name = action == Qt::MoveAction   ? "move"
                           : action == Qt::CopyAction ? "copy"
                                                      : "ignore";
        if (action == Qt::MoveAction) {
            for (const QString& file : files_)
                QFile::remove(file);
        }
        std::printf("result %s\n", name);
        std::fflush(stdout);
    }
    void showEvent(QShowEvent*) override {
        const QPoint c = mapToGlobal(rect().center());
        std::printf("ready %d %d\n", c.x(), c.y());
        std::fflush(stdout);
    }

private:
    QStringList files_;
    bool text_;
    QPoint start_;
};

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    const bool text = args.removeAll(QStringLiteral("--text")) > 0;
    Source source(args, text);
    source.show();
    return app.exec();
}
