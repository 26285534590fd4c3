// The terminal opens in the files' folder: stand-in terminals are shell scripts that write down
// where they were started and with which arguments.
#include "Actions/TerminalAction.h"

#include "TestFiles.h"

#include <QFile>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

// Sets an environment variable (or unsets it, for a null value) until the object goes.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const QByteArray& value)
        : name_(name)
        , had_(qEnvironmentVariableIsSet(name))
        , previous_(qgetenv(name)) {
        value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    ~ScopedVariable() { had_ ? qputenv(name_, previous_) : qunsetenv(name_); }

private:
    const char* name_;
    bool had_;
    QByteArray previous_;
};

// A terminal that writes its working folder and then its arguments, one a line, to `record`.
QString fakeTerminal(const QString& path, const QString& record) {
    QFile script(path);
    if (!script.open(QIODevice::WriteOnly) ||
        script.write("#!/bin/sh\n{ pwd; for a in \"$@\"; do echo \"$a\"; done; } > '" +
                     record.toUtf8() + ".part' && /bin/mv '" + record.toUtf8() + ".part' '" +
                     record.toUtf8() + "'\n") < 0)
        return {};
    script.setPermissions(script.permissions() | QFile::ExeOwner);
    return path;
}

// What the terminal started for `paths` wrote down: its folder, then its arguments.
QStringList startedFor(const QStringList& paths, const QString& record) {
    QFile::remove(record);
    TerminalAction::open(paths);
    if (!QTest::qWaitFor([&] { return QFile::exists(record); }, 20000))
        return {QStringLiteral("(not started)")};
    return readText(record).split('\n', Qt::SkipEmptyParts);
}

} // namespace

TEST(TerminalAction, OpensInTheFilesFolderWithTheTerminalOfChoice) {
    TestFolder folder;
    const QString record = folder.path("record");
    const QString project = folder.folder("Mein Projekt");
    const QString file = folder.file("Mein Projekt/notes.txt");
    const QString other = folder.folder("Anderes");
    {
        const ScopedVariable terminal("TERMINAL",
                                      fakeTerminal(folder.path("my-term"), record).toUtf8());
        EXPECT_EQ(startedFor({file, other}, record), QStringList{project})
            << "the first file's folder";
        EXPECT_EQ(startedFor({other, file}, record), QStringList{other}) << "a folder itself";
    }
    {
        // Without TERMINAL the list is searched on PATH; gnome-terminal comes before xterm and
        // is told the folder, for its windows belong to a server started elsewhere.
        const QString bin = folder.folder("bin");
        fakeTerminal(bin + "/xterm", record);
        fakeTerminal(bin + "/gnome-terminal", record);
        const ScopedVariable terminal("TERMINAL", QByteArray());
        const ScopedVariable path("PATH", bin.toUtf8());
        EXPECT_EQ(startedFor({file}, record),
                  (QStringList{project, "--working-directory=" + project}));

        const ScopedVariable nothing("PATH", QByteArray(""));
        EXPECT_EQ(errorOf([&] { TerminalAction::open({file}); }),
                  "Kein Terminalprogramm gefunden. Installiere eines (etwa xterm) oder nenne es "
                  "in der Umgebungsvariable TERMINAL.");
    }
}
