#include "Documents/OfficeSuite.h"

#include "TestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

// A stand-in LibreOffice that reports and converts as the real one does, hangs on a document
// named "haengt" (in a child, as LibreOffice's helpers would) and crashes on "absturz".
TEST(OfficeSuite, AHungOrCrashedStartNamesItsDocumentAndTheRestGoOnInOneStartEach) {
    TestFolder folder;
    const QString program = folder.file("soffice", R"(#!/bin/sh
echo start >> "$(dirname "$0")/starts"
while [ "$1" != --outdir ]; do shift; done
out="$2"; shift 2
for source in "$@"; do
  name=$(basename "$source" .docx)
  case "$name" in
    haengt) sleep 600 & echo $! > "$(dirname "$0")/sleeper"; wait ;;
    absturz) kill -SEGV $$ ;;
  esac
  echo "convert $source -> $out/$name.pdf using filter : writer_pdf_Export"
  echo "%PDF $name" > "$out/$name.pdf"
done
)");
    QFile(program).setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QList<OfficeSuite::Source> sources;
    for (const char* name : {"eins", "haengt", "zwei", "absturz", "drei"}) {
        const QString path = folder.file(QString("in/%1.docx").arg(name));
        sources.append({path, QFileInfo(path).fileName()});
    }
    QStringList outcomes;
    OfficeSuite::Options options;
    options.program = program;
    options.quiet = std::chrono::milliseconds(1500);
    OfficeSuite::convert(
        sources, {"pdf", "writer_pdf_Export"}, folder.folder("out"),
        [&](qsizetype index, const std::optional<QString>& error) {
            outcomes.append(sources[index].name + ": " + error.value_or("fertig"));
        },
        {}, options);
    EXPECT_EQ(outcomes,
              QStringList({"eins.docx: fertig",
                           "haengt.docx: LibreOffice hat an „haengt.docx“ über 1 Sekunden ohne "
                           "Ergebnis gearbeitet und wurde beendet.",
                           "zwei.docx: fertig",
                           "absturz.docx: LibreOffice ist bei „absturz.docx“ abgestürzt.",
                           "drei.docx: fertig"}));
    EXPECT_EQ(readBytes(folder.path("starts")), "start\nstart\nstart\n");
    QFile::remove(folder.path("sleeper"));
    EXPECT_EQ(readBytes(folder.path("out/drei.pdf")), "%PDF drei\n");
    // A cancel ends the start at once, the hung helper with it.
    outcomes.clear();
    EXPECT_EQ(errorOf([&] {
                  OfficeSuite::convert(
                      sources.mid(1, 2), {"pdf", "writer_pdf_Export"}, folder.path("out"),
                      [&](qsizetype, const std::optional<QString>&) {},
                      [&] { return QFileInfo(folder.path("sleeper")).size() > 0; }, options);
              }),
              "Abgebrochen.");
    // Killed, though maybe not yet reaped by whoever inherited it.
    const QString sleeper = QString::fromUtf8(readBytes(folder.path("sleeper"))).trimmed();
    EXPECT_TRUE(QTest::qWaitFor([&] {
        const QByteArray stat = readBytes("/proc/" + sleeper + "/stat");
        return stat == "(missing)" || stat.contains(") Z ");
    })) << "the hung helper is still running";
}
