#include "ConversionError.h"
#include "Editors/PDFMergeModel.h"
#include "Editors/PDFSplitModel.h"
#include "Settings/UILanguage.h"
#include "TestFiles.h"
#include "TestPDFs.h"

#include <QDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;
using Mode = PDFSplitModel::Mode;
using Groups = QList<PageRanges::Group>;

namespace {

QString pdf(const TestFolder& folder, const QString& name, const QString& word, int pages) {
    QStringList texts;
    for (int page = 1; page <= pages; ++page)
        texts.append(QStringLiteral("%1 %2").arg(word).arg(page));
    return folder.file(name, textPDF(texts));
}

// The sentence a mode gives instead of groups.
QString refusal(Mode mode, const QString& ranges, const QSet<qint64>& clicked = {}) {
    try {
        PDFSplitModel::groups(mode, 5, 2, ranges, clicked);
    } catch (const std::exception& error) {
        return describeError(error);
    }
    return QStringLiteral("(none)");
}

std::function<OutputContext()> nextToInput() {
    return [] { return OutputContext(); };
}

} // namespace

TEST(PDFSplitModel, EachModeCutsTheDocumentAsItSaysAndRefusesWithTheParsersSentences) {
    EXPECT_EQ(PDFSplitModel::groups(Mode::eachPage, 3, 7, {}, {}), (Groups{{1}, {2}, {3}}));
    EXPECT_EQ(PDFSplitModel::groups(Mode::everyN, 5, 2, {}, {}), (Groups{{1, 2}, {3, 4}, {5}}));
    EXPECT_EQ(PDFSplitModel::groups(Mode::everyN, 4, 9, {}, {}), (Groups{{1, 2, 3, 4}}));
    EXPECT_EQ(PDFSplitModel::groups(Mode::ranges, 7, 2, PDFSplitModel::sampleRanges, {}),
              (Groups{{1, 2}, {3, 4, 5}, {6, 7}}));
    // Clicked pages make one file, in page order, whatever order they were clicked in.
    EXPECT_EQ(PDFSplitModel::groups(Mode::clicked, 5, 2, {}, {4, 1}), (Groups{{1, 4}}));
    EXPECT_EQ(refusal(Mode::clicked, {}), "Keine Seiten ausgewählt.");
    EXPECT_EQ(refusal(Mode::ranges, " , "), "Bitte Seiten angeben, z. B. 1-2, 3-5.");
    EXPECT_EQ(refusal(Mode::ranges, "1-2, 3-9"), "Seite 9 gibt es nicht – das PDF hat 5 Seiten.");
    EXPECT_EQ(refusal(Mode::ranges, "4-2"), "„4-2“: Der Bereich ist rückwärts.");
    EXPECT_EQ(refusal(Mode::ranges, "1-2-3"), "„1-2-3“ ist kein gültiger Seitenbereich.");
}

TEST(PDFSplitModel, SplitsWhatWasChosenAndShowsWhyALockedOrEmptyDocumentCannotBeSplit) {
    TestFolder folder;
    PDFSplitModel model(pdf(folder, "Bericht.pdf", "Seite", 5), nextToInput());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.loading(); }, 10000));
    EXPECT_EQ(model.pageCount(), 5);
    model.setMode(Mode::everyN);
    EXPECT_EQ(model.summary(), UILanguage::text("3 Dateien im neuen Ordner „Bericht aufgeteilt“",
                                                "3 files in a new folder “Bericht aufgeteilt”"));
    QStringList written;
    model.onFinish = [&](const QStringList& outputs) { written = outputs; };
    model.split();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !written.isEmpty(); }, 10000));
    ASSERT_EQ(written.size(), 3);
    EXPECT_EQ(textOf(written[1]).simplified(), "Seite 3 Seite 4");
    EXPECT_EQ(pageCountOf(written[2]), 1);

    model.setMode(Mode::clicked);
    EXPECT_FALSE(model.canSplit());
    model.toggle(4);
    model.toggle(1);
    model.toggle(2);
    model.toggle(2);
    EXPECT_EQ(model.summary(), UILanguage::text("Eine Datei: „Bericht S. 1, 4.pdf“",
                                                "One file: “Bericht S. 1, 4.pdf”"));
    written.clear();
    model.split();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !written.isEmpty(); }, 10000));
    EXPECT_EQ(written, QStringList{folder.path("Bericht S. 1, 4.pdf")});
    EXPECT_EQ(textOf(written[0]).simplified(), "Seite 1 Seite 4");

    encrypt(folder.path("Bericht.pdf"), folder.path("Geheim.pdf"));
    const QString empty = folder.file("Leer.pdf", pagesPDF({}));
    for (const QString& path : {folder.path("Geheim.pdf"), empty}) {
        PDFSplitModel refused(path, nextToInput());
        ASSERT_TRUE(QTest::qWaitFor([&] { return !refused.loading(); }, 10000));
        EXPECT_FALSE(refused.pageCount());
        EXPECT_FALSE(refused.canSplit());
        EXPECT_EQ(refused.plan().problem, *refused.error());
    }
    PDFSplitModel locked(folder.path("Geheim.pdf"), nextToInput());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !locked.loading(); }, 10000));
    EXPECT_EQ(locked.error(), "„Geheim.pdf“ ist passwortgeschützt.");
}

TEST(PDFMergeModel, RowsMoveTakeRangesCheckedAsTypedAndMergeInTheirOrder) {
    TestFolder folder;
    const QString out = folder.folder("Ausgabe");
    PDFMergeModel model({pdf(folder, "A.pdf", "Alpha", 1), pdf(folder, "B.pdf", "Beta", 3),
                         folder.file("Notiz.txt", "kein PDF")},
                        nextToInput());
    EXPECT_EQ(model.rows().size(), 2);
    EXPECT_EQ(model.notice(), UILanguage::text("Kein PDF, nicht aufgenommen: Notiz.txt",
                                               "Not a PDF, left out: Notiz.txt"));
    EXPECT_EQ(model.name(), "Zusammengeführt");
    EXPECT_EQ(model.add({pdf(folder, "C.pdf", "Gamma", 2)}, 1), 1);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !model.problem(); }, 10000))
        << model.problem()->toStdString();
    EXPECT_EQ(model.summary(), UILanguage::text("6 Seiten aus 3 PDFs", "6 pages from 3 PDFs"));

    // A, C, B → B, A, C: the last row to the top.
    model.move(2, 0);
    QStringList order;
    for (const PDFMergeModel::Row& row : model.rows())
        order.append(QFileInfo(row.path).completeBaseName());
    EXPECT_EQ(order, QStringList({"B", "A", "C"}));

    model.setRanges(0, "3-1");
    EXPECT_EQ(model.rangeError(0), "„3-1“: Der Bereich ist rückwärts.");
    EXPECT_EQ(model.problem(), "B.pdf: „3-1“: Der Bereich ist rückwärts.");
    model.setRanges(0, "2, 9");
    EXPECT_EQ(model.rangeError(0), "Seite 9 gibt es nicht – das PDF hat 3 Seiten.");
    model.setRanges(0, "3, 1-2");
    model.setRanges(2, "2");
    EXPECT_EQ(model.rangeError(0), std::nullopt);
    EXPECT_EQ(model.summary(), UILanguage::text("5 Seiten aus 3 PDFs", "5 pages from 3 PDFs"));

    model.setFolder(out);
    model.setName("  Mappe  ");
    QStringList written;
    model.onFinish = [&](const QStringList& outputs) { written = outputs; };
    model.merge();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !written.isEmpty(); }, 10000));
    EXPECT_EQ(written, QStringList{QDir(out).filePath("Mappe.pdf")});
    EXPECT_EQ(textOf(written[0]).simplified(), "Beta 3 Beta 1 Beta 2 Alpha 1 Gamma 2");
}
