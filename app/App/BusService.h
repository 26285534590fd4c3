// The tray app on the session bus. Owning the name keeps it to one app per session; the object
// lets the file managers' menus and `tramix --wheel` open a wheel, run an operation or end the app.
#pragma once

#include <QDBusContext>
#include <QObject>
#include <QStringList>

namespace tramix {

class AppDelegate;

class BusService : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tramix.Tramix")
public:
    explicit BusService(AppDelegate& app, QObject* parent = nullptr);

    enum class Claim { owned, taken, noBus };
    // Whether another app owns the name already; asked before this one starts up.
    static bool taken();
    // Exports the object, then takes the name, so no call finds the name without the object.
    Claim claim();

public Q_SLOTS:
    // `mode` is "convert", "tools" or "actions"; `paths` are absolute and exist.
    Q_SCRIPTABLE void ShowWheel(const QString& mode, const QStringList& paths);
    Q_SCRIPTABLE void Run(const QString& operationId, const QStringList& paths);
    Q_SCRIPTABLE void Quit();

private:
    // The first problem with `paths`, as a sentence for the caller.
    static QString pathProblem(const QStringList& paths);

    AppDelegate& app_;
};

} // namespace tramix
