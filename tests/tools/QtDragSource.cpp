// A Qt application that drags files (or text, with --text) out of its window, as a file manager
// would. It offers copy and move; if the drop answers "move" it deletes the files, as a file
// manager's move would, so a test can see that the wheel never asks for it.
//   QtDragSource [--text] files…
// Prints, one line each, so a test can wait for every step instead of guessing how long it takes:
// "ready X Y" (the window's centre on screen) once the window is drawn, "pressed" when the
// button goes down on it, "dragging" when a drag starts, "action copy|move|ignore" whenever the
// target under the pointer changes its answer, and "result ACTION" after each drag.
#include <QApplication>
#include <QDrag>
#include <QFile>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <QWidget>
#include <cstdio>

namespace {

void say(const QByteArray& line) {
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

const char* actionName(Qt::DropAction action) {
    return action == Qt::MoveAction ? "move" : action == Qt::CopyAction ? "copy" : "ignore";
}

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
    void mousePressEvent(QMouseEvent* event) override {
        start_ = event->position().toPoint();
        say("pressed");
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (!(event->buttons() & Qt::LeftButton) ||
            (event->position().toPoint() - start_).manhattanLength() < 4)
            return;
        auto* drag = new QDrag(this);
        drag->setMimeData(mimeData());
        QObject::connect(drag, &QDrag::actionChanged, [](Qt::DropAction action) {
            say(QByteArray("action ") + actionName(action));
        });
        say("dragging");
        const Qt::DropAction action = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
        if (action == Qt::MoveAction) {
            for (const QString& file : files_)
                QFile::remove(file);
        }
        say(QByteArray("result ") + actionName(action));
    }
    // The first paint means the window is on screen and takes input.
    void paintEvent(QPaintEvent*) override {
        if (announced_)
            return;
        announced_ = true;
        const QPoint c = mapToGlobal(rect().center());
        say("ready " + QByteArray::number(c.x()) + ' ' + QByteArray::number(c.y()));
    }

private:
    QMimeData* mimeData() const {
        auto* data = new QMimeData;
        if (text_) {
            data->setText(QStringLiteral("just some text"));
            return data;
        }
        QList<QUrl> urls;
        for (const QString& file : files_)
            urls.append(QUrl::fromLocalFile(file));
        data->setUrls(urls);
        return data;
    }

    QStringList files_;
    bool text_;
    bool announced_ = false;
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
