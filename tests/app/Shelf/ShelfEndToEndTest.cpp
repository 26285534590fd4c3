// Real drags under the test X server between the shelf in a host process and other Qt
// applications: files dragged out arrive as file URIs and stay where they were, files dropped in
// are parked and outlive the shelf.
#include "TestFiles.h"
#include "app/Drag/DragHarness.h"

#include <QFile>
#include <QRect>
#include <QUrl>
#include <gtest/gtest.h>

using namespace tramix;
using namespace tramix::test;

namespace {

const QRegularExpression shownLine("^shown (-?\\d+) (-?\\d+) (\\d+) (\\d+)$");
const QRegularExpression filesLine("^files (\\d+) ?(.*)$");
const QRegularExpression rowLine("^row (\\d+) (-?\\d+) (-?\\d+) (present|missing)$");
const QRegularExpression allLine("^all (-?\\d+) (-?\\d+)$");
const QRegularExpression readyLine("^ready (\\d+) (\\d+)$");
const QRegularExpression overLine("^over (\\S+)$");
const QRegularExpression dropLine("^drop (\\w+) (.*)$");
const QRegularExpression draggedLine("^dragged (\\w+) (\\d+)$");

// What the host last reported of the shelf: its files, and where its rows and handle are.
struct Report {
    QStringList files;
    QList<std::pair<QPoint, bool>> rows; // centre, present
    QPoint all;
};

std::optional<Report> waitReport(ChildProcess& host) {
    const auto files = host.waitFor(filesLine);
    if (!files)
        return std::nullopt;
    Report report;
    if (files->captured(1).toInt() > 0)
        report.files = files->captured(2).split('|');
    while (true) {
        const auto line = host.waitFor(QRegularExpression("^(row|all|end)\\b.*$"));
        if (!line)
            return std::nullopt;
        const QString text = line->captured(0);
        if (const auto row = rowLine.match(text); row.hasMatch())
            report.rows.append(
                {{row.captured(2).toInt(), row.captured(3).toInt()}, row.captured(4) == "present"});
        else if (const auto all = allLine.match(text); all.hasMatch())
            report.all = {all.captured(1).toInt(), all.captured(2).toInt()};
        else
            return report;
    }
}

QStringList urisOf(const QStringList& files) {
    QStringList uris;
    for (const QString& file : files)
        uris.append(QString::fromUtf8(QUrl::fromLocalFile(file).toEncoded()));
    return uris;
}

class ShelfEndToEnd : public DesktopTest<> {
protected:
    std::unique_ptr<ChildProcess> startHost(const QStringList& files) {
        auto host = std::make_unique<ChildProcess>(
            QStringLiteral(SHELF_HOST_BINARY),
            QStringList{"--store", store, "--at", "600", "500"} + files);
        const auto shown = host->waitFor(shownLine, startDeadlineMs);
        if (!shown) {
            ADD_FAILURE() << "the shelf never showed:\n"
                          << host->allLines().join('\n').toStdString();
            return nullptr;
        }
        panel = QRect(shown->captured(1).toInt(), shown->captured(2).toInt(),
                      shown->captured(3).toInt(), shown->captured(4).toInt());
        return host;
    }

    // Presses at `from` on the shelf, drags to the target and lets go once the shelf's drag has
    // been accepted there; returns the target's drop line.
    std::optional<QRegularExpressionMatch> dragOut(ChildProcess& host, ChildProcess& target,
                                                   QPoint from, QPoint to,
                                                   const QString& answer = "copy") {
        input.moveTo(from);
        input.button(true);
        input.glide(from, to, 14, 20);
        if (!target.waitFor(overLine)) {
            ADD_FAILURE() << "the drag never reached the target:\n"
                          << host.allLines().join('\n').toStdString();
            return std::nullopt;
        }
        if (!host.waitFor(QRegularExpression("^action " + answer + "$"))) {
            ADD_FAILURE() << "the target never accepted the drag";
            return std::nullopt;
        }
        input.button(false);
        return target.waitFor(dropLine);
    }

    TestFolder folder;
    const QString store = folder.path("state/shelf.json");
    QRect panel;
};

} // namespace

TEST_F(ShelfEndToEnd, RowsAndAllFilesDraggedOntoAnotherApplicationArriveAndStayWhereTheyWere) {
    const QStringList files{folder.file("Strand.jpg", "jpeg"),
                            folder.file("Angebot 2024.pdf", "pdf"),
                            folder.file("Notizen.txt", "text")};
    const auto host = startHost(files);
    ASSERT_TRUE(host);
    auto report = waitReport(*host);
    ASSERT_TRUE(report);
    ASSERT_EQ(report->files, files);
    ASSERT_EQ(report->rows.size(), 3);
    ChildProcess target(QStringLiteral(QT_DROP_TARGET_BINARY), {"--at", "1300", "200"});
    const auto ready = target.waitFor(readyLine, startDeadlineMs);
    ASSERT_TRUE(ready);
    const QPoint into(ready->captured(1).toInt(), ready->captured(2).toInt());

    // One row: its file alone, offered to copy, move or link, the copy taken.
    const auto one = dragOut(*host, target, report->rows[1].first, into);
    ASSERT_TRUE(one);
    EXPECT_EQ(one->captured(1), "copy");
    EXPECT_EQ(one->captured(2).split('|'), urisOf({files[1]}));
    EXPECT_TRUE(target.allLines().contains("over copy|move|link"));
    ASSERT_TRUE(host->waitFor(draggedLine));

    // The handle: every file in one drag.
    const auto all = dragOut(*host, target, report->all, into);
    ASSERT_TRUE(all);
    EXPECT_EQ(all->captured(2).split('|'), urisOf(files));
    ASSERT_TRUE(host->waitFor(draggedLine));
    for (const QString& file : files)
        EXPECT_TRUE(QFile::exists(file)) << file.toStdString();

    // A target that answers "move" gets the file, and the shelf deletes nothing.
    ChildProcess mover(QStringLiteral(QT_DROP_TARGET_BINARY),
                       {"--at", "1300", "600", "--answer", "move"});
    const auto moverReady = mover.waitFor(readyLine, startDeadlineMs);
    ASSERT_TRUE(moverReady);
    const QPoint moverCentre(moverReady->captured(1).toInt(), moverReady->captured(2).toInt());
    const auto moved = dragOut(*host, mover, report->rows[2].first, moverCentre, "move");
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->captured(1), "move");
    const auto movedLine = host->waitFor(draggedLine);
    ASSERT_TRUE(movedLine);
    EXPECT_EQ(movedLine->captured(1), "move");
    for (const QString& file : files)
        EXPECT_TRUE(QFile::exists(file)) << file.toStdString();

    // A file that went away meanwhile is shown as missing and not offered.
    ASSERT_TRUE(QFile::remove(files[0]));
    do {
        report = waitReport(*host);
        ASSERT_TRUE(report);
    } while (report->rows[0].second);
    const auto rest = dragOut(*host, target, report->all, into);
    ASSERT_TRUE(rest);
    EXPECT_EQ(rest->captured(2).split('|'), urisOf(files.mid(1)));
    const auto dragged = host->waitFor(draggedLine);
    ASSERT_TRUE(dragged);
    EXPECT_EQ(dragged->captured(2), "2");
    EXPECT_TRUE(QFile::exists(files[1]) && QFile::exists(files[2]));
}

TEST_F(ShelfEndToEnd, FilesDroppedFromAnotherApplicationAreParkedAndOutliveTheShelf) {
    const QStringList files{folder.file("Meer.jpg", "jpeg"), folder.file("Ordner/Plan.pdf", "pdf")};
    {
        const auto host = startHost({});
        ASSERT_TRUE(host);
        const auto empty = waitReport(*host);
        ASSERT_TRUE(empty);
        EXPECT_TRUE(empty->files.isEmpty());
        const Source source = startSource(SourceKit::qt, files);
        ASSERT_TRUE(beginDrag(input, source, panel.center(), [] { return true; }));
        ASSERT_TRUE(waitUntilAccepted(source));
        input.button(false);
        const auto result = source.process->waitFor(QRegularExpression("^result (\\w+)$"));
        ASSERT_TRUE(result);
        // The source was told "copy": it keeps its files.
        EXPECT_EQ(result->captured(1), "copy");
        const auto parked = waitReport(*host);
        ASSERT_TRUE(parked);
        EXPECT_EQ(parked->files, files);
    }
    for (const QString& file : files)
        EXPECT_TRUE(QFile::exists(file)) << file.toStdString();
    // The next start of the shelf lists them again.
    const auto again = startHost({});
    ASSERT_TRUE(again);
    const auto restored = waitReport(*again);
    ASSERT_TRUE(restored);
    EXPECT_EQ(restored->files, files);
}
