// The floating shelf on its own, for the end-to-end tests: shown at a point with the given files,
// its list kept in the given file, reporting on standard output what happens, one line each.
//   ShelfHost --store FILE [--at X Y] [files…]
// Lines: "shown X Y W H" once the panel is painted; after that and after every change of the
// list, "files N PATH|PATH…", one "row INDEX X Y present|missing" per row in view (its centre on
// screen), "all X Y" (the centre of the handle that drags all files) and "end"; "dragged ACTION
// N" when a drag out of the shelf ends, "action copy|move|link|ignore" while it runs whenever the
// target under the pointer changes its answer; "log MESSAGE" for what the shelf logs.
#include "Shelf/FloatShelfController.h"
#include "Shelf/ShelfView.h"

#include <QApplication>
#include <QChildEvent>
#include <QDrag>
#include <QPointer>
#include <QTimer>
#include <cstdio>

using namespace tramix;

namespace {

void say(const QString& line) {
    std::fprintf(stdout, "%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

QString actionName(Qt::DropAction action) {
    switch (action) {
    case Qt::CopyAction:
        return QStringLiteral("copy");
    case Qt::MoveAction:
        return QStringLiteral("move");
    case Qt::LinkAction:
        return QStringLiteral("link");
    default:
        return QStringLiteral("ignore");
    }
}

// Reports the answers of the targets to each drag the view starts. The drag is a child of the
// view; it is complete once the drag's own event loop turns.
class DragWatcher : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::ChildAdded) {
            QPointer<QObject> child = static_cast<QChildEvent*>(event)->child();
            QTimer::singleShot(0, this, [child] {
                if (auto* drag = qobject_cast<QDrag*>(child.data()))
                    QObject::connect(drag, &QDrag::actionChanged, [](Qt::DropAction action) {
                        say(QStringLiteral("action ") + actionName(action));
                    });
            });
        }
        return QObject::eventFilter(watched, event);
    }
};

void report(FloatShelfController& shelf) {
    ShelfModel& model = shelf.model();
    QStringList paths;
    for (const ShelfModel::Item& item : model.items())
        paths.append(item.path);
    say(QStringLiteral("files %1 %2").arg(model.count()).arg(paths.join(u'|')));
    ShelfView& view = shelf.view();
    for (int i = 0; i < model.count(); ++i) {
        const QRect row = view.rowRect(i);
        if (row.isNull())
            continue;
        const QPoint c = view.mapToGlobal(row.center());
        say(QStringLiteral("row %1 %2 %3 %4")
                .arg(i)
                .arg(c.x())
                .arg(c.y())
                .arg(model.items()[i].present ? QStringLiteral("present")
                                              : QStringLiteral("missing")));
    }
    const QPoint all = view.mapToGlobal(view.spotRect(ShelfView::Spot::dragAll).center());
    say(QStringLiteral("all %1 %2").arg(all.x()).arg(all.y()));
    say(QStringLiteral("end"));
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString store;
    QPoint at(700, 500);
    if (const qsizetype i = args.indexOf(QStringLiteral("--store"));
        i >= 0 && i + 1 < args.size()) {
        store = args[i + 1];
        args.remove(i, 2);
    }
    if (const qsizetype i = args.indexOf(QStringLiteral("--at")); i >= 0 && i + 2 < args.size()) {
        at = QPoint(args[i + 1].toInt(), args[i + 2].toInt());
        args.remove(i, 3);
    }

    FloatShelfController shelf(store);
    shelf.log = [](const QString& message) { say(QStringLiteral("log ") + message); };
    ShelfView& view = shelf.view();
    view.installEventFilter(new DragWatcher(&app));
    view.onDragged = [previous = view.onDragged](Qt::DropAction action, const QStringList& paths) {
        if (previous)
            previous(action, paths);
        say(QStringLiteral("dragged %1 %2").arg(actionName(action)).arg(paths.size()));
    };
    bool shown = false;
    shelf.onShown = [&] {
        if (shown)
            return;
        shown = true;
        const QRect r = shelf.panelGeometry();
        say(QStringLiteral("shown %1 %2 %3 %4")
                .arg(r.x())
                .arg(r.y())
                .arg(r.width())
                .arg(r.height()));
        report(shelf);
    };
    // After the view has followed the change and the panel has taken its new size.
    QObject::connect(&shelf.model(), &ShelfModel::changed, &app, [&] {
        QTimer::singleShot(0, &app, [&] {
            if (shown)
                report(shelf);
        });
    });
    shelf.show(at, args);
    return app.exec();
}
