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
#include "Settings/AppSettings.h"

#include <QApplication>
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
    const auto defaultMode = [](ModifierKey key) -> std::optional<WheelMode> {
        for (const auto& [mode, bound] : AppSettings::defaultKeys()) {
            if (bound == key)
                return WheelMode(mode);
        }
        return std::nullopt;
    };
    WheelWiring::connect(monitor, wheel,
                         {defaultMode, [activation] { return activation; },
                          [count](WheelMode mode, const QStringList& paths) {
                              return count >= 0 ? numbered(count)
                                                : OperationRegistry::operations(mode, paths);
                          }});

    wheel.onShown = [&wheel] {
        const QRect r = wheel.panelGeometry();
        const auto now = std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::steady_clock::now().time_since_epoch());
        say(QString::asprintf("shown-us %lld %d %d %d %d %lld", qint64(now.count()), r.x(), r.y(),
                              r.width(), r.height(), qint64(wheel.model().operations().size())));
    };
    wheel.onDrop = [](const FileOperation& op, const QStringList& paths, QPoint) {
        say(QStringLiteral("drop %1 %2").arg(op.id, paths.join('|')));
    };
    WheelModel& model = wheel.model();
    QString last;
    QObject::connect(&model, &WheelModel::changed, [&] {
        const QString hovered =
            model.hovered() ? QString::number(*model.hovered()) : QStringLiteral("none");
        const QString state = QString::asprintf(
            "state visible=%d mode=%s page=%d hovered=%s", int(model.visible()),
            qPrintable(model.mode().rawValue()), int(model.page()), qPrintable(hovered));
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
