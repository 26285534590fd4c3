#include "NautilusIntegration.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace tramix::NautilusIntegration {

namespace {

using IntegrationFiles::GeneratedFile;
using MenuEntries::MenuEntry;

// A JSON string is a Python string literal as well.
QString pythonString(const QString& text) {
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

QString pythonList(const QStringList& texts) {
    QStringList quoted;
    for (const QString& text : texts)
        quoted.append(pythonString(text));
    return u'[' + quoted.join(QStringLiteral(", ")) + u']';
}

// The extensions an entry fits, "/" for folders; none: every file and folder.
QString fitting(const MenuEntry& entry) {
    if (entry.kinds.isEmpty())
        return QStringLiteral("None");
    QStringList extensions;
    for (FileKind kind : entry.kinds)
        extensions += kind == FileKind::folder ? QStringList{QStringLiteral("/")}
                                               : MenuEntries::extensions(kind);
    return pythonList(extensions);
}

QByteArray extension(const IntegrationFiles::Setup& setup, const std::vector<MenuEntry>& entries) {
    QString entryLines;
    for (const MenuEntry& entry : entries)
        entryLines += QStringLiteral("    (%1, %2, %3, %4),\n")
                          .arg(pythonString(entry.name), pythonString(entry.label),
                               pythonList(entry.arguments), fitting(entry));
    const QString text =
        QStringLiteral(R"(# Tramix in the context menu of Nautilus; %1.
# tramix --remove-integration removes it, tramix --install-integration writes it anew.
import os
import subprocess

import gi

try:
    gi.require_version("Nautilus", "4.0")
except ValueError:
    gi.require_version("Nautilus", "3.0")
from gi.repository import GObject, Nautilus

PROGRAM = %2

# (name, label, arguments, extensions it fits with "/" for folders, or None for everything)
ENTRIES = [
%3]


def _fits(path, extensions):
    if extensions is None:
        return True
    if os.path.isdir(path):
        return "/" in extensions
    name = os.path.basename(path).lower()
    return "." in name.lstrip(".") and name.rsplit(".", 1)[1] in extensions


def _run(_item, arguments, paths):
    subprocess.Popen([PROGRAM] + arguments + paths, start_new_session=True)


class TramixMenu(GObject.GObject, Nautilus.MenuProvider):
    # Nautilus 43 and later pass the files alone, earlier ones the window first.
    def get_file_items(self, *args):
        paths = []
        for info in args[-1]:
            location = info.get_location()
            path = location.get_path() if location is not None else None
            if path is None:
                return []
            paths.append(path)
        items = []
        if not paths:
            return items
        for name, label, arguments, extensions in ENTRIES:
            if all(_fits(path, extensions) for path in paths):
                item = Nautilus.MenuItem(name="Tramix::" + name, label=label)
                item.connect("activate", _run, arguments, paths)
                items.append(item)
        return items
)")
            .arg(QLatin1StringView(MenuEntries::marker), pythonString(setup.program), entryLines);
    return text.toUtf8();
}

QByteArray script(const IntegrationFiles::Setup& setup, const MenuEntry& entry) {
    QStringList command = {IntegrationFiles::shellQuoted(setup.program)};
    for (const QString& argument : entry.arguments)
        command.append(IntegrationFiles::shellQuoted(argument));
    // The variable lists local files one a line; remote ones come only as arguments.
    const QString text =
        QStringLiteral(R"(#!/bin/sh
# %1: %2
# tramix --remove-integration removes it.
if [ -n "$NAUTILUS_SCRIPT_SELECTED_FILE_PATHS" ]; then
    IFS='
'
    set -f
    set -- $NAUTILUS_SCRIPT_SELECTED_FILE_PATHS
fi
exec %3 "$@"
)")
            .arg(QLatin1StringView(MenuEntries::marker), entry.label, command.join(u' '));
    return text.toUtf8();
}

} // namespace

QString extensionPath(const IntegrationFiles::Setup& setup) {
    return setup.dataHome + QStringLiteral("/nautilus-python/extensions/tramix.py");
}

QString scriptsFolder(const IntegrationFiles::Setup& setup) {
    return setup.dataHome + QStringLiteral("/nautilus/scripts/Tramix");
}

QList<GeneratedFile> files(const IntegrationFiles::Setup& setup,
                           const std::vector<MenuEntry>& entries) {
    if (setup.nautilusPython)
        return {{extensionPath(setup), extension(setup, entries)}};
    QList<GeneratedFile> scripts;
    for (const MenuEntry& entry : entries) {
        // Scripts show for every file, so the direct entries wait one level down, by kind.
        const QString folder = entry.kinds.size() == 1 && entry.arguments.first() == u"--run"
                                   ? u'/' + MenuEntries::kindName(entry.kinds.first())
                                   : QString();
        scripts.append(
            {scriptsFolder(setup) + folder + u'/' + entry.title, script(setup, entry), true});
    }
    return scripts;
}

void remove(const IntegrationFiles::Setup& setup) {
    IntegrationFiles::removeMarked(setup.dataHome + QStringLiteral("/nautilus-python/extensions"),
                                   QStringLiteral("tramix"));
    IntegrationFiles::removeMarked(scriptsFolder(setup), QString());
}

} // namespace tramix::NautilusIntegration
