#include "FileActions.h"

#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"

namespace tramix::FileActions {

namespace {

FileOperation action(const char* name, const char* title, const char* detail, const char* symbol) {
    const QString text = QString::fromUtf8(detail);
    return {QStringLiteral("action.") + QLatin1String(name),
            QString::fromUtf8(title),
            text,
            QString::fromLatin1(symbol),
            OperationStyle::instant,
            [text](const QStringList&, const OutputContext&) -> QStringList {
                throw ConversionError::unsupported(text);
            }};
}

} // namespace

QList<FileOperation> operations() {
    return {
        action("airdrop", "AIRDROP", "Per AirDrop teilen", "airplayaudio"),
        action("float", "FLOAT", "In die Ablage legen", "tray.and.arrow.down"),
        action("copy", "KOPIEREN", "In die Zwischenablage", "doc.on.doc"),
        action("move", "BEWEGEN", "In einen Ordner bewegen", "folder"),
        action("path", "PFAD", "Pfad kopieren", "link"),
        action("terminal", "TERMINAL", "Im Terminal öffnen", "terminal"),
        OperationRegistry::zipOperation(),
    };
}

} // namespace tramix::FileActions
