// The tools that open an editor instead of producing files on drop, and the editor windows
// themselves: one shared object keeps every open window alive until it closes and reports what
// an editor wrote through `onResult`.
#pragma once

#include "FileOperation.h"
#include "OutputContext.h"

#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QSize>
#include <QStringList>
#include <functional>

class QWidget;

namespace tramix {

class EditorWindows : public QObject {
    Q_OBJECT
public:
    static EditorWindows& shared();

    // An editor session wrote `outputs`; `near` is the screen point the report belongs to.
    std::function<void(const QString& title, const QStringList& outputs, QPoint near)> onResult;
    // Where editors write, asked at each save; next to the originals until the app says.
    std::function<OutputContext()> context;

    // `base` with the editor tools for the files' common kind added at its end.
    QList<FileOperation> tools(const QStringList& paths, QList<FileOperation> base) const;

    void openCrop(const QStringList& urls);
    void openBackdrop(const QStringList& urls);

    // The editor windows open now, oldest first.
    QList<QWidget*> windows() const;

    static constexpr QSize cropSize{820, 640};
    static constexpr QSize backdropSize{900, 600};

Q_SIGNALS:
    // A window was presented and shown.
    void presented(QWidget* window);

private:
    EditorWindows() = default;
    QWidget* present(const QString& title, QSize size, QWidget* content);
    void finish(QWidget* window, const QString& title, const QStringList& outputs);
    OutputContext outputContext() const;

    QList<QPointer<QWidget>> windows_;
};

} // namespace tramix
