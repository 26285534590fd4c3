// A Qt window that takes file drops, as a file manager's folder view would, and answers with
// the action the source proposes (or the one given with --answer).
//   QtDropTarget [--at X Y] [--answer copy|move|link]
// Prints, one line each, so a test can wait for every step: "ready X Y" (the window's centre on
// screen) once the window is drawn, "over ACTIONS" when a drag first enters (the actions it
// offers, joined by "|"), "drop ACTION URI|URI…" for each drop, with the action it answered.
#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>
#include <QWidget>
#include <cstdio>

namespace {

void say(const QByteArray& line) {
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

QByteArray actionNames(Qt::DropActions actions) {
    QByteArrayList names;
    if (actions & Qt::CopyAction)
        names.append("copy");
    if (actions & Qt::MoveAction)
        names.append("move");
    if (actions & Qt::LinkAction)
        names.append("link");
    return names.isEmpty() ? QByteArray("none") : names.join('|');
}

class Target : public QWidget {
public:
    Target(QPoint at, std::optional<Qt::DropAction> answer)
        : answer_(answer) {
        setWindowTitle(QStringLiteral("QtDropTarget"));
        setAcceptDrops(true);
        setFixedSize(200, 200);
        move(at);
    }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override {
        say("over " + actionNames(event->possibleActions()));
        if (!event->mimeData()->hasUrls())
            return event->ignore();
        event->setDropAction(answer_.value_or(event->proposedAction()));
        event->accept();
    }
    void dragMoveEvent(QDragMoveEvent* event) override {
        event->setDropAction(answer_.value_or(event->proposedAction()));
        event->accept();
    }
    void dropEvent(QDropEvent* event) override {
        const Qt::DropAction action = answer_.value_or(event->proposedAction());
        event->setDropAction(action);
        event->accept();
        QByteArrayList uris;
        for (const QUrl& url : event->mimeData()->urls())
            uris.append(url.toEncoded());
        say("drop " + actionNames(action) + ' ' + uris.join('|'));
    }
    // The first paint means the window is on screen and takes drops.
    void paintEvent(QPaintEvent*) override {
        if (announced_)
            return;
        announced_ = true;
        const QPoint c = mapToGlobal(rect().center());
        say("ready " + QByteArray::number(c.x()) + ' ' + QByteArray::number(c.y()));
    }

private:
    std::optional<Qt::DropAction> answer_;
    bool announced_ = false;
};

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    QPoint at(1200, 300);
    if (const qsizetype i = args.indexOf(QStringLiteral("--at")); i > 0 && i + 2 < args.size())
        at = QPoint(args[i + 1].toInt(), args[i + 2].toInt());
    std::optional<Qt::DropAction> answer;
    if (const qsizetype i = args.indexOf(QStringLiteral("--answer")); i > 0 && i + 1 < args.size())
        answer = args[i + 1] == u"move"   ? Qt::MoveAction
                 : args[i + 1] == u"link" ? Qt::LinkAction
                                          : Qt::CopyAction;
    Target target(at, answer);
    target.show();
    return app.exec();
}
