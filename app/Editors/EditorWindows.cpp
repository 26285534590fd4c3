#include "EditorWindows.h"

#include "BackdropEditorView.h"
#include "BackdropModel.h"
#include "Catalogue/OperationRegistry.h"
#include "CropEditorView.h"
#include "CropModel.h"
#include "Settings/UILanguage.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>

namespace tramix {

namespace {

QString text(const char* german, const char* english) {
    return UILanguage::text(QString::fromUtf8(german), QString::fromUtf8(english));
}

// A tool whose work is to open an editor on the interface thread.
FileOperation editorTool(const char* id, const QString& title, const QString& detail,
                         const char* symbol,
                         std::function<void(EditorWindows&, const QStringList&)> open) {
    return {QString::fromLatin1(id),
            title,
            detail,
            QString::fromLatin1(symbol),
            OperationStyle::instant,
            [open](const QStringList& inputs, const OutputContext&) {
                EditorWindows* windows = &EditorWindows::shared();
                QMetaObject::invokeMethod(
                    windows, [windows, open, inputs] { open(*windows, inputs); },
                    Qt::QueuedConnection);
                return QStringList();
            }};
}

} // namespace

EditorWindows& EditorWindows::shared() {
    static EditorWindows* const windows = new EditorWindows; // lives as long as the process
    return *windows;
}

QList<FileOperation> EditorWindows::tools(const QStringList& paths,
                                          QList<FileOperation> base) const {
    if (OperationRegistry::commonKind(paths) == FileKind::image) {
        base.append(editorTool("tool.image.crop", text("ZUSCHNEIDEN", "CROP"),
                               text("Zuschneiden & drehen", "Crop & rotate"), "crop",
                               &EditorWindows::openCrop));
        base.append(editorTool("tool.image.backdrop", text("HINTERGRUND", "BACKDROP"),
                               text("Hintergrund & Ecken", "Background & corners"),
                               "photo.on.rectangle.angled", &EditorWindows::openBackdrop));
    } else if (OperationRegistry::commonKind(paths) == FileKind::pdf) {
        base.append(editorTool("tool.pdf.split", text("AUFTEILEN", "SPLIT"),
                               text("Seiten aufteilen", "Split pages"), "square.split.2x1",
                               [](EditorWindows& windows, const QStringList& inputs) {
                                   windows.openPDF(inputs, PDFEditorView::Tab::split);
                               }));
        const QString merge =
            paths.size() > 1 ? text("%1 PDFs zusammenführen", "Merge %1 PDFs").arg(paths.size())
                             : text("PDFs zusammenführen", "Merge PDFs");
        base.append(editorTool("tool.pdf.merge", text("ZUSAMMEN", "MERGE"), merge,
                               "square.stack.3d.down.right",
                               [](EditorWindows& windows, const QStringList& inputs) {
                                   windows.openPDF(inputs, PDFEditorView::Tab::merge);
                               }));
    }
    return base;
}

OutputContext EditorWindows::outputContext() const {
    return context ? context() : OutputContext();
}

void EditorWindows::openCrop(const QStringList& urls) {
    // The window owns the model, made before the view so that it goes after it.
    auto* model = new CropModel(urls, [this] { return outputContext(); });
    auto* view = new CropEditorView(*model);
    QWidget* window = present(text("Zuschneiden", "Crop"), cropSize, view);
    model->setParent(window);
    connect(view, &CropEditorView::cancelled, window, &QWidget::close);
    model->onFinish = [this, window](const QStringList& outputs) {
        finish(window,
               outputs.size() == 1
                   ? text("Zugeschnitten", "Cropped")
                   : text("%1 Bilder zugeschnitten", "%1 images cropped").arg(outputs.size()),
               outputs);
    };
}

void EditorWindows::openBackdrop(const QStringList& urls) {
    // The window owns the model, made before the view so that it goes after it.
    auto* model = new BackdropModel(urls, [this] { return outputContext(); });
    auto* view = new BackdropEditorView(*model);
    QWidget* window = present(text("Hintergrund", "Background"), backdropSize, view);
    model->setParent(window);
    connect(view, &BackdropEditorView::cancelled, window, &QWidget::close);
    model->onFinish = [this, window](const QStringList& outputs) {
        finish(window,
               outputs.size() == 1
                   ? text("Hintergrund hinzugefügt", "Background added")
                   : text("%1 Bilder gestaltet", "%1 images styled").arg(outputs.size()),
               outputs);
    };
}

void EditorWindows::openPDF(const QStringList& urls, PDFEditorView::Tab tab) {
    auto* view = new PDFEditorView(
        urls, [this] { return outputContext(); }, tab);
    QWidget* window = present(view->title(), pdfSize, view);
    connect(view, &PDFEditorView::titleChanged, window, &QWidget::setWindowTitle);
    connect(view, &PDFEditorView::cancelled, window, &QWidget::close);
    connect(view, &PDFEditorView::merged, window, [this, window](const QStringList& outputs) {
        finish(window, text("Zusammengeführt", "Merged"), outputs);
    });
    connect(view, &PDFEditorView::splitInto, window, [this, window](const QStringList& outputs) {
        finish(window,
               outputs.size() == 1
                   ? text("Seiten herausgelöst", "Pages extracted")
                   : text("In %1 PDFs aufgeteilt", "Split into %1 PDFs").arg(outputs.size()),
               outputs);
    });
}

QList<QWidget*> EditorWindows::windows() const {
    QList<QWidget*> open;
    for (const QPointer<QWidget>& window : windows_) {
        if (window)
            open.append(window);
    }
    return open;
}

QWidget* EditorWindows::present(const QString& title, QSize size, QWidget* content) {
    auto* window = new QWidget(nullptr, Qt::Window);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle(title);
    auto* layout = new QVBoxLayout(window);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(content);
    window->resize(size);
    if (const QScreen* screen = QGuiApplication::screenAt(QCursor::pos())
                                    ? QGuiApplication::screenAt(QCursor::pos())
                                    : QGuiApplication::primaryScreen()) {
        QRect frame(QPoint(), size);
        frame.moveCenter(screen->availableGeometry().center());
        window->move(frame.topLeft());
    }
    windows_.append(window);
    connect(window, &QObject::destroyed, this, [this] {
        windows_.removeIf([](const QPointer<QWidget>& open) { return open.isNull(); });
    });
    window->show();
    window->raise();
    window->activateWindow();
    Q_EMIT presented(window);
    return window;
}

void EditorWindows::finish(QWidget* window, const QString& title, const QStringList& outputs) {
    const QPoint near = window->geometry().center();
    window->close();
    // Nothing written (every image skipped): the window just closes, with no report.
    if (!outputs.isEmpty() && onResult)
        onResult(title, outputs, near);
}

} // namespace tramix
