#include "DolphinIntegration.h"

namespace tramix::DolphinIntegration {

namespace {

using IntegrationFiles::GeneratedFile;
using MenuEntries::MenuEntry;

QString execLine(const IntegrationFiles::Setup& setup, const MenuEntry& entry) {
    QStringList words = {IntegrationFiles::execQuoted(setup.program)};
    for (const QString& argument : entry.arguments)
        words.append(IntegrationFiles::execQuoted(argument));
    words.append(QStringLiteral("%F"));
    return words.join(u' ');
}

// Every file type descends from application/octet-stream, so that and folders are everything.
QStringList mimeTypesOf(const MenuEntry& entry) {
    if (entry.kinds.isEmpty())
        return {QStringLiteral("application/octet-stream"), QStringLiteral("inode/directory")};
    QStringList types;
    for (FileKind kind : entry.kinds)
        types += MenuEntries::mimeTypes(kind);
    return types;
}

// Type=Application rather than KDE's older Type=Service: KIO reads both, and this one is a
// desktop entry by the freedesktop rules, so desktop-file-validate can check it.
QByteArray serviceMenu(const IntegrationFiles::Setup& setup, const MenuEntry& entry) {
    const QString exec = execLine(setup, entry);
    const QString text = QStringLiteral("# %1; tramix --remove-integration removes it.\n"
                                        "[Desktop Entry]\n"
                                        "Type=Application\n"
                                        "Name=%2\n"
                                        "Icon=tramix\n"
                                        "Exec=%3\n"
                                        "NoDisplay=true\n"
                                        "MimeType=%4;\n"
                                        "Actions=run;\n"
                                        "\n"
                                        "[Desktop Action run]\n"
                                        "Name=%2\n"
                                        "Icon=tramix\n"
                                        "Exec=%3\n")
                             .arg(QLatin1StringView(MenuEntries::marker), entry.label, exec,
                                  mimeTypesOf(entry).join(u';'));
    return text.toUtf8();
}

} // namespace

QString folder(const IntegrationFiles::Setup& setup) {
    return setup.dataHome + QStringLiteral("/kio/servicemenus");
}

QList<GeneratedFile> files(const IntegrationFiles::Setup& setup,
                           const std::vector<MenuEntry>& entries) {
    QList<GeneratedFile> menus;
    for (const MenuEntry& entry : entries)
        menus.append(
            {folder(setup) + QStringLiteral("/tramix-") + entry.name + QStringLiteral(".desktop"),
             serviceMenu(setup, entry), true});
    return menus;
}

void remove(const IntegrationFiles::Setup& setup) {
    IntegrationFiles::removeMarked(folder(setup), QStringLiteral("tramix-"));
}

} // namespace tramix::DolphinIntegration
