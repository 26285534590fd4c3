// A stand-in for the tray app's drag handling: the drag monitor wired to the wheel with the
// default key bindings, reporting on standard output what happens, one line each, for the
// end-to-end tests to follow.
//   WheelHost [--activation toggle|hold] [--operations N]
// With --operations, each wheel offers N numbered operations instead of the catalogue's.
#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"
#include "Drag/DragMonitor.h"
#include "Drag/WheelController.h"
#include "Drag/WheelWiring.h"

#include <QApplication>
#include <QTextStream>
#include <chrono>
#include <cstdio>

using namespace tramix;

namespace {

void say(const QString& line) {
    std::fprintf(stdout, "%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

QList<FileOperation> numbered(int count) {
    QList<FileOperation> list;
    for (int i = 0; i < count; ++i)
        list.append({QStringLiteral("test.op%1").arg(i), QStringLiteral("OP%1").arg(i),
                     QStringLiteral("Operation %1").arg(i), std::nullopt, OperationStyle::perFile,
                     [](const QStringList&, const OutputContext&) -> QStringList {
                         throw ConversionError::unsupported(QStringLiteral("Testoperation"));
                     }});
    return list;
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const QStringList args = app.arguments();
    const WheelActivation activation =
        args.contains(QStringLiteral("hold")) ? WheelActivation::hold : WheelActivation::toggle;
    const qsizetype countAt = args.indexOf(QStringLiteral("--operations"));
    const int count = countAt > 0 ? args.value(countAt + 1).toInt() : -1;

    DragMonitor monitor(Desktop::createInput());
    WheelController wheel;
    monitor.log = [](const QString& message) { say("log " + message); };
    wheel.log = monitor.log;
    WheelWiring::connect(monitor, wheel,
                         {[](ModifierKey key) -> std::optional<WheelMode> {
                              switch (key) {
                              case ModifierKey::shift:
                                  return WheelMode::convert;
                              case ModifierKey::command:
                                  return WheelMode::tools;
                              case ModifierKey::control:
                                  return WheelMode::actions;
                              case ModifierKey::option:
                                  break;
                              }
                              return std::nullopt;
                          },
                          [activation] { return activation; },
                          [count](WheelMode mode, const QStringList& paths) {
                              return count >= 0 ? numbered(count)
                                                : OperationRegistry::operations(mode, paths);
                          }});

    wheel.onShown = [&wheel] {
        const QRect r = wheel.panelGeometry();
        say(QStringLiteral("shown-us %1 %2 %3 %4 %5 %6")
                .arg(qint64(std::chrono::duration_cast<std::chrono::microseconds>(
                                std::chrono::steady_clock::now().time_since_epoch())
                                .count()))
                .arg(r.x())
                .arg(r.y())
                .arg(r.width())
                .arg(r.height())
                .arg(wheel.model().operations().size()));
    };
    wheel.onDrop = [](const FileOperation& op, const QStringList& paths, QPoint) {
        say(QStringLiteral("drop %1 %2").arg(op.id, paths.join('|')));
    };
    WheelModel& model = wheel.model();
    QString last;
    QObject::connect(&model, &WheelModel::changed, [&] {
        const QString state =
            QStringLiteral("state visible=%1 mode=%2 page=%3 hovered=%4")
                .arg(model.visible())
                .arg(model.mode().rawValue())
                .arg(model.page())
                .arg(model.hovered() ? QString::number(*model.hovered()) : QStringLiteral("none"));
        if (state != last)
            say(state);
        last = state;
    });
    wheel.prepare();
    // The first catalogue question starts the image library; the app asks once at start too.
    OperationRegistry::convertOperations({QStringLiteral("warm-up.jpg")});
    if (!monitor.start()) {
        say(QStringLiteral("unavailable"));
        return 1;
    }
    say(QStringLiteral("ready"));
    return app.exec();
}
