#include "Integration/Integration.h"

#include "ConversionError.h"
#include "Integration/DolphinIntegration.h"
#include "Integration/NautilusIntegration.h"
#include "Integration/NemoIntegration.h"
#include "Integration/ThunarIntegration.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "app/App/CliRunner.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

const QByteArray usersThunarActions = R"(<?xml version="1.0" encoding="UTF-8"?>
<actions>
<action>
	<icon>utilities-terminal</icon>
	<name>Terminal hier öffnen</name>
	<unique-id>1700000000000000-1</unique-id>
	<command>exo-open --working-directory %f --launch TerminalEmulator</command>
	<description>Meine eigene Aktion &amp; mehr</description>
	<patterns>*</patterns>
	<startup-notify/>
	<directories/>
</action>
</actions>
)";

// A home as a file manager finds it: the base folders, and some of the user's own entries.
struct Home {
    TestFolder folder;
    IntegrationFiles::Setup setup{folder.path("home/.local/share"), folder.path("home/.config"),
                                  QStringLiteral(TRAMIX_BINARY)};
    Home() {
        folder.file("home/.config/Thunar/uca.xml", usersThunarActions);
        folder.file("home/.local/share/nemo/actions/mine.nemo_action",
                    "[Nemo Action]\nName=Meins\nExec=true %F\n");
        folder.folder("home/.local/share/kio");
    }
    QProcessEnvironment environment() const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", folder.path("home"));
        environment.insert("XDG_DATA_HOME", setup.dataHome);
        environment.insert("XDG_CONFIG_HOME", setup.configHome);
        return environment;
    }
    CliOutput tramix(const QStringList& args) const {
        return runProgram(TRAMIX_BINARY, args, folder.path("."), environment());
    }
};

// Every entry under `root` with its permissions and bytes.
QMap<QString, QByteArray> snapshot(const QString& root) {
    QMap<QString, QByteArray> entries;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        entries.insert(QDir(root).relativeFilePath(info.filePath()),
                       QByteArray::number(int(info.permissions())) + ' ' +
                           (info.isDir() ? QByteArray("folder") : readBytes(info.filePath())));
    }
    return entries;
}

QStringList filesIn(const QString& folder, const QString& filter) {
    QStringList paths;
    for (const QString& name : QDir(folder).entryList({filter}, QDir::Files))
        paths.append(folder + u'/' + name);
    return paths;
}

QString keyValue(const QString& file, const QString& key) {
    for (const QString& line : readText(file).split(u'\n')) {
        if (line.startsWith(key + u'='))
            return line.mid(key.size() + 1);
    }
    return "(no " + key + ")";
}

// The Thunar actions' unique ids, and whether the file is well-formed.
QStringList thunarIds(const QString& path, bool* wellFormed) {
    QStringList ids;
    QXmlStreamReader reader(readBytes(path));
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == u"unique-id")
            ids.append(reader.readElementText());
    }
    *wellFormed = !reader.hasError();
    return ids;
}

} // namespace

TEST(Integration, InstallWritesMenusEachFileManagerAcceptsAndRemoveRestoresTheHome) {
    Home home;
    const auto before = snapshot(home.folder.path("."));

    const CliOutput installed = home.tramix({"--install-integration"});
    ASSERT_EQ(installed.status, 0) << installed.out.toStdString() << installed.err.toStdString();
    EXPECT_EQ(installed.lines().size(), 4) << installed.out.toStdString();

    // Dolphin: valid desktop entries, executable, each with the MIME types of its kinds.
    const QStringList menus =
        filesIn(DolphinIntegration::folder(home.setup), QStringLiteral("*.desktop"));
    ASSERT_GE(menus.size(), 3 + 3 * 7);
    const CliOutput validated = runProgram("desktop-file-validate", menus);
    EXPECT_EQ(validated.status, 0) << validated.out.toStdString() << validated.err.toStdString();
    for (const QString& menu : menus)
        EXPECT_TRUE(QFileInfo(menu).isExecutable()) << menu.toStdString();
    const QString menuFolder = DolphinIntegration::folder(home.setup);
    const QString pngMenu = menuFolder + "/tramix-convert.image.png-image.desktop";
    EXPECT_TRUE(keyValue(pngMenu, "MimeType").split(u';').contains("image/jpeg"));
    EXPECT_FALSE(keyValue(pngMenu, "MimeType").contains("application/pdf"));
    EXPECT_EQ(keyValue(menuFolder + "/tramix-wheel-tools.desktop", "Name"), "Tramix: Werkzeuge …");
    EXPECT_EQ(keyValue(menuFolder + "/tramix-wheel-tools.desktop", "Exec"),
              QString(TRAMIX_BINARY) + " --wheel tools %F");
    EXPECT_TRUE(keyValue(menuFolder + "/tramix-archive.zip-folder.desktop", "MimeType")
                    .startsWith("inode/directory"));

    // Nemo: the action group, the kind's MIME types, and every entry once.
    const QStringList actions = filesIn(NemoIntegration::folder(home.setup), "tramix-*");
    EXPECT_EQ(actions.size(), menus.size());
    for (const QString& action : actions) {
        EXPECT_TRUE(readText(action).contains("\n[Nemo Action]\n")) << action.toStdString();
        EXPECT_TRUE(keyValue(action, "Exec").endsWith(" %F")) << action.toStdString();
    }
    EXPECT_EQ(keyValue(NemoIntegration::folder(home.setup) + "/tramix-wheel-actions.nemo_action",
                       "Extensions"),
              "any;");

    // Thunar: the user's action kept first, Tramix's added, and a backup of the original.
    bool wellFormed = false;
    const QStringList ids = thunarIds(ThunarIntegration::actionsPath(home.setup), &wellFormed);
    EXPECT_TRUE(wellFormed);
    EXPECT_EQ(ids.value(0), "1700000000000000-1");
    EXPECT_TRUE(ids.contains("tramix-wheel-convert"));
    EXPECT_EQ(ids.size(), menus.size() + 1);
    EXPECT_EQ(readBytes(ThunarIntegration::backupPath(home.setup)), usersThunarActions);

    // Nautilus without nautilus-python: scripts, the direct ones in a folder per kind.
    const QString scripts = NautilusIntegration::scriptsFolder(home.setup);
    EXPECT_TRUE(QFileInfo(scripts + "/Formate …").isExecutable());
    EXPECT_TRUE(QFileInfo(scripts + "/Bilder/In PNG umwandeln").isExecutable());

    // A second install replaces Tramix's files and keeps the first backup.
    ASSERT_EQ(home.tramix({"--install-integration"}).status, 0);
    EXPECT_EQ(thunarIds(ThunarIntegration::actionsPath(home.setup), &wellFormed).size(),
              ids.size());
    EXPECT_EQ(readBytes(ThunarIntegration::backupPath(home.setup)), usersThunarActions);

    const CliOutput removed = home.tramix({"--remove-integration"});
    EXPECT_EQ(removed.status, 0) << removed.out.toStdString();
    EXPECT_EQ(snapshot(home.folder.path(".")), before);

    // Without a uca.xml of the user's, the one made goes again, with its folder.
    QFile::remove(ThunarIntegration::actionsPath(home.setup));
    QDir().rmdir(home.setup.configHome + "/Thunar");
    const auto bare = snapshot(home.folder.path("."));
    ASSERT_EQ(home.tramix({"--install-integration"}).status, 0);
    EXPECT_TRUE(QFileInfo::exists(ThunarIntegration::actionsPath(home.setup)));
    ASSERT_EQ(home.tramix({"--remove-integration"}).status, 0);
    EXPECT_EQ(snapshot(home.folder.path(".")), bare);
}

TEST(Integration, RefusesToReplaceFilesNotWrittenByTramixAndChangesNothing) {
    Home home;
    const QString foreign =
        home.folder.file("home/.local/share/kio/servicemenus/tramix-wheel-convert.desktop",
                         "[Desktop Entry]\nName=Jemand anderes\n");
    const auto before = snapshot(home.folder.path("."));
    EXPECT_EQ(errorOf([&] { Integration::install(home.setup); }),
              "Die Datei " + foreign +
                  " stammt nicht von Tramix und bleibt unverändert; nichts "
                  "wurde eingerichtet.");
    EXPECT_EQ(snapshot(home.folder.path(".")), before);
    // Removing leaves it too.
    Integration::remove(home.setup);
    EXPECT_EQ(snapshot(home.folder.path(".")), before);

    QFile::remove(foreign);
    home.folder.file("home/.config/Thunar/uca.xml", "<actions><action>");
    const auto broken = snapshot(home.folder.path("."));
    EXPECT_TRUE(errorOf([&] { Integration::install(home.setup); }).contains("uca.xml"));
    EXPECT_EQ(snapshot(home.folder.path(".")), broken);
}

TEST(Integration, NautilusExtensionImportsAndOffersTheEntriesThatFitTheSelection) {
    Home home;
    home.setup.nautilusPython = true;
    Integration::install(home.setup);
    const QString extension = NautilusIntegration::extensionPath(home.setup);
    ASSERT_TRUE(IntegrationFiles::isTramixFile(extension));
    EXPECT_FALSE(QFileInfo::exists(NautilusIntegration::scriptsFolder(home.setup)));

    // A stand-in for PyGObject that records the provider class and the items it makes.
    TestFolder stub;
    stub.file("gi/__init__.py", "versions = {}\n"
                                "def require_version(name, version):\n"
                                "    versions[name] = version\n");
    stub.file("gi/repository/__init__.py", "");
    stub.file("gi/repository/GObject.py", "class GObject:\n    pass\n");
    stub.file("gi/repository/Nautilus.py",
              "providers = []\n"
              "class MenuProvider:\n"
              "    def __init_subclass__(cls, **kwargs):\n"
              "        providers.append(cls)\n"
              "class MenuItem:\n"
              "    def __init__(self, name, label):\n"
              "        self.name, self.label, self.handlers = name, label, []\n"
              "    def connect(self, signal, callback, *args):\n"
              "        self.handlers.append((signal, callback, args))\n"
              "    def activate(self):\n"
              "        for signal, callback, args in self.handlers:\n"
              "            callback(self, *args)\n");
    const QString driver = stub.file("driver.py", R"(import importlib.util, subprocess, sys
from gi.repository import Nautilus
started = []
subprocess.Popen = lambda args, **kwargs: started.append(args)
found = importlib.util.spec_from_file_location("tramix_menu", sys.argv[1])
found.loader.exec_module(importlib.util.module_from_spec(found))
provider = Nautilus.providers[0]()
class Info:
    def __init__(self, path): self.path = path
    def get_location(self): return self
    def get_path(self): return self.path
for selection in sys.argv[2:]:
    items = provider.get_file_items([Info(p) for p in selection.split("|")])
    print("|".join(item.label for item in items))
items = provider.get_file_items(None, [Info(sys.argv[2])])
next(item for item in items if item.label == "Tramix: In PNG umwandeln").activate()
print("|".join(started[0]))
)");
    const QString photo = home.folder.file("Foto.JPG");
    const QString pdf = home.folder.file("Brief.pdf");
    const QString folder = home.folder.folder("Urlaub");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PYTHONPATH", stub.path("."));
    const CliOutput run =
        runProgram("/usr/bin/python3", {driver, extension, photo, photo + '|' + pdf, folder},
                   QString(), environment);
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    const QStringList lines = run.lines();
    ASSERT_EQ(lines.size(), 4) << run.out.toStdString();
    EXPECT_EQ(lines[0], "Tramix: Formate …|Tramix: Werkzeuge …|Tramix: Aktionen …|Tramix: In PNG "
                        "umwandeln|Tramix: In JPG umwandeln|Tramix: Komprimieren");
    EXPECT_EQ(lines[1], "Tramix: Formate …|Tramix: Werkzeuge …|Tramix: Aktionen …");
    EXPECT_EQ(lines[2], "Tramix: Formate …|Tramix: Aktionen …|Tramix: Als ZIP packen|Tramix: Als "
                        "TAR.GZ packen");
    EXPECT_EQ(lines[3], home.setup.program + "|--run|convert.image.png|" + photo);

    Integration::remove(home.setup);
    EXPECT_FALSE(QFileInfo::exists(extension));
}

TEST(Integration, ScriptAndActionEntriesConvertTheSelectedFiles) {
    Home home;
    // A program path that needs quoting in every format.
    const QString program = home.folder.folder("Pro gramme $HOME 'x'") + "/tramix";
    ASSERT_TRUE(QFile::link(TRAMIX_BINARY, program));
    home.setup.program = program;
    Integration::install(home.setup);

    TestFolder photos;
    const QString jpeg = saveImage(halves(20, 10, red, blue), photos.path("Foto am Meer.jpg"));
    const QString png = saveImage(halves(20, 10, green, white), photos.path("Meine Skizze.png"));
    QProcessEnvironment environment = home.environment();
    environment.insert("NAUTILUS_SCRIPT_SELECTED_FILE_PATHS", jpeg + '\n');
    const CliOutput script =
        runProgram(NautilusIntegration::scriptsFolder(home.setup) + "/Bilder/In PNG umwandeln", {},
                   photos.path("."), environment);
    EXPECT_EQ(script.status, 0) << script.out.toStdString() << script.err.toStdString();
    EXPECT_TRUE(readBytes(photos.path("Foto am Meer.png")).startsWith("\x89PNG"));

    // Nemo parses the Exec line like a shell, with its key-file escapes undone and %F filled in
    // with quoted paths.
    QString exec = keyValue(NemoIntegration::folder(home.setup) +
                                "/tramix-convert.image.jpg-image.nemo_action",
                            "Exec");
    exec.replace("\\\\", "\\").replace("%F", '"' + png + '"');
    const CliOutput action = runProgram("/bin/sh", {"-c", exec}, photos.path("."), environment);
    EXPECT_EQ(action.status, 0) << exec.toStdString() << action.err.toStdString();
    EXPECT_TRUE(readBytes(photos.path("Meine Skizze.jpg")).startsWith("\xff\xd8"));
}
