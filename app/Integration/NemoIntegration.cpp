#include "NemoIntegration.h"

namespace tramix::NemoIntegration {

namespace {

using IntegrationFiles::GeneratedFile;
using MenuEntries::MenuEntry;

QString filter(const MenuEntry& entry) {
    if (entry.kinds.isEmpty())
        return QStringLiteral("Extensions=any;");
    QStringList types;
    for (FileKind kind : entry.kinds)
        types += MenuEntries::mimeTypes(kind);
    return QStringLiteral("Mimetypes=") + types.join(u';') + u';';
}

// Nemo puts the paths in as they are unless told to quote them; double quotes keep spaces and
// dollar signs, as its parser follows the shell's rules.
QByteArray action(const IntegrationFiles::Setup& setup, const MenuEntry& entry) {
    QStringList words = {IntegrationFiles::execQuoted(setup.program)};
    for (const QString& argument : entry.arguments)
        words.append(IntegrationFiles::execQuoted(argument));
    words.append(QStringLiteral("%F"));
    const QString text = QStringLiteral("# %1; tramix --remove-integration removes it.\n"
                                        "[Nemo Action]\n"
                                        "Active=true\n"
                                        "Name=%2\n"
                                        "Comment=%2\n"
                                        "Icon-Name=tramix\n"
                                        "Exec=%3\n"
                                        "Quote=double\n"
                                        "Selection=notnone\n"
                                        "%4\n")
                             .arg(QLatin1StringView(MenuEntries::marker), entry.label,
                                  words.join(u' '), filter(entry));
    return text.toUtf8();
}

} // namespace

QString folder(const IntegrationFiles::Setup& setup) {
    return setup.dataHome + QStringLiteral("/nemo/actions");
}

QList<GeneratedFile> files(const IntegrationFiles::Setup& setup,
                           const std::vector<MenuEntry>& entries) {
    QList<GeneratedFile> actions;
    for (const MenuEntry& entry : entries)
        actions.append({folder(setup) + QStringLiteral("/tramix-") + entry.name +
                            QStringLiteral(".nemo_action"),
                        action(setup, entry)});
    return actions;
}

void remove(const IntegrationFiles::Setup& setup) {
    IntegrationFiles::removeMarked(folder(setup), QStringLiteral("tramix-"));
}

} // namespace tramix::NemoIntegration
