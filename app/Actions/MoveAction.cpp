#include "MoveAction.h"

#include "ConversionError.h"
#include "FileMove.h"
#include "Settings/UILanguage.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace tramix::MoveAction {

namespace {

QString othersStayed(qsizetype count) {
    if (count == 1)
        return UILanguage::text(QStringLiteral("Ein weiteres Objekt blieb, wo es war."),
                                QStringLiteral("One more item stayed where it was."));
    return UILanguage::text(QStringLiteral("%1 weitere Objekte blieben, wo sie waren.").arg(count),
                            QStringLiteral("%1 more items stayed where they were.").arg(count));
}

} // namespace

QString chooserTitle(const QStringList& paths) {
    if (paths.size() == 1) {
        const QString name = QFileInfo(paths.first()).fileName();
        return UILanguage::text(QStringLiteral("„%1“ bewegen nach …").arg(name),
                                QStringLiteral("Move “%1” to …").arg(name));
    }
    return UILanguage::text(QStringLiteral("%1 Objekte bewegen nach …").arg(paths.size()),
                            QStringLiteral("Move %1 items to …").arg(paths.size()));
}

std::optional<QString> askForFolder(const QStringList& paths) {
    QFileDialog dialog(nullptr, chooserTitle(paths));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setLabelText(QFileDialog::Accept, UILanguage::text(QStringLiteral("Hierher bewegen"),
                                                              QStringLiteral("Move here")));
    if (!paths.isEmpty())
        dialog.setDirectory(QFileInfo(paths.first()).absolutePath());
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return dialog.selectedFiles().first();
}

Outcome moveAll(const QStringList& paths, const QString& folder) {
    Outcome outcome;
    for (const QString& path : paths) {
        try {
            outcome.moved.append(FileMove::into(path, folder));
        } catch (const std::exception& error) {
            outcome.errors.append(describeError(error));
        }
    }
    return outcome;
}

void move(const QStringList& paths, const FolderChooser& choose, const Revealer& reveal) {
    const std::optional<QString> folder = choose(paths);
    if (!folder)
        return;
    const Outcome outcome = moveAll(paths, *folder);
    if (!outcome.errors.isEmpty()) {
        QMessageBox box(QMessageBox::Warning, QStringLiteral("Tramix"), outcome.errors.first(),
                        QMessageBox::Ok);
        box.setWindowModality(Qt::ApplicationModal);
        if (outcome.errors.size() > 1)
            box.setInformativeText(othersStayed(outcome.errors.size() - 1));
        box.exec();
    }
    if (!outcome.moved.isEmpty())
        reveal(outcome.moved);
}

} // namespace tramix::MoveAction
