#include "Drag/WheelModel.h"

#include "Catalogue/Catalogue.h"
#include "Drag/CenterText.h"
#include "Drag/WheelController.h"
#include "Drag/WheelDropView.h"
#include "Drag/WheelGeometry.h"
#include "TestFiles.h"

#include <QFontMetricsF>
#include <QSignalSpy>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace tramix;
using tramix::test::ids;

namespace {

QList<FileOperation> operations(int count) {
    QList<FileOperation> list;
    for (int i = 0; i < count; ++i)
        list.append({QStringLiteral("op.%1").arg(i), QStringLiteral("OP%1").arg(i),
                     QStringLiteral("Detail %1").arg(i), std::nullopt, OperationStyle::perFile,
                     nullptr});
    return list;
}

QPointF atAngle(double degrees, double radius) {
    const double rad = degrees * std::numbers::pi / 180;
    return {radius * std::sin(rad), radius * std::cos(rad)}; // y up
}

} // namespace

TEST(WheelModel, PagesEightOperationsAtATimeAndWraps) {
    WheelModel model;
    EXPECT_EQ(model.pageCount(), 1);
    EXPECT_TRUE(model.pageOperations().isEmpty());
    EXPECT_EQ(model.slots(), 4);

    model.setOperations(operations(8));
    EXPECT_EQ(model.pageCount(), 1);
    EXPECT_EQ(model.slots(), 8);

    model.setOperations(operations(9));
    EXPECT_EQ(model.pageCount(), 2);
    EXPECT_EQ(ids(model.pageOperations()).size(), 8);
    model.setHovered(3);
    model.nextPage();
    EXPECT_EQ(model.page(), 1);
    EXPECT_EQ(model.hovered(), std::nullopt);
    EXPECT_EQ(ids(model.pageOperations()), QStringList{"op.8"});
    EXPECT_EQ(model.slots(), 4);
    model.nextPage();
    EXPECT_EQ(model.page(), 0);

    model.setOperations(operations(3));
    model.setHovered(1);
    model.nextPage();
    EXPECT_EQ(model.page(), 0);
    EXPECT_EQ(model.hovered(), 1) << "one page: nothing changes";

    // A page past the end (the list shrank) shows nothing rather than failing.
    model.setOperations(operations(17));
    model.setPage(2);
    EXPECT_EQ(ids(model.pageOperations()), QStringList{"op.16"});
    model.setPage(5);
    EXPECT_TRUE(model.pageOperations().isEmpty());
}

TEST(WheelModel, HoveredOperationOnlyInsideThePageAndChangesAreAnnounced) {
    WheelModel model;
    QSignalSpy spy(&model, &WheelModel::changed);
    model.setOperations(operations(10));
    model.setHovered(2);
    ASSERT_TRUE(model.hoveredOperation());
    EXPECT_EQ(model.hoveredOperation()->id, "op.2");
    model.setPage(1);
    model.setHovered(1);
    ASSERT_TRUE(model.hoveredOperation());
    EXPECT_EQ(model.hoveredOperation()->id, "op.9");
    model.setHovered(2); // an empty slot of the second page
    EXPECT_EQ(model.hoveredOperation(), std::nullopt);
    const qsizetype before = spy.size();
    model.setHovered(2);
    EXPECT_EQ(spy.size(), before) << "an unchanged value is no change";

    EXPECT_EQ(WheelModel::labelForFiles({"/a/b/IMG_0412.heic"}), "IMG_0412.heic");
    EXPECT_EQ(WheelModel::labelForFiles({"/a/x.jpg", "/a/y.jpg", "/b/z.pdf"}, true), "3 Dateien");
    EXPECT_EQ(WheelModel::labelForFiles({"/a/x.jpg", "/a/y.jpg"}, false), "2 files");
}

TEST(WheelGeometry, HitTestFindsTheCentreSegmentsClockwiseFromTheTopAndOutside) {
    const WheelGeometry g;
    using Z = WheelZone;
    // Each segment from just past its border to just before the next, at 4 and 8 slots.
    for (int slots : {4, 8}) {
        for (int i = 0; i < slots; ++i) {
            const double middle = i * 360.0 / slots, half = 180.0 / slots;
            EXPECT_EQ(g.zone(atAngle(middle - half + 0.1, 100), slots, true), Z::segmentZone(i));
            EXPECT_EQ(g.zone(atAngle(middle + half - 0.1, 100), slots, true), Z::segmentZone(i));
        }
    }
    // A flipped view (y down) mirrors the vertical axis.
    EXPECT_EQ(g.zone({0, -100}, 8, false), Z::segmentZone(0));
    EXPECT_EQ(g.zone({0, 100}, 8, false), Z::segmentZone(4));

    EXPECT_EQ(g.zone({0, 0}, 8, true), Z::centerZone());
    EXPECT_EQ(g.zone({60, 0}, 8, true), Z::centerZone());
    EXPECT_EQ(g.zone({60.01, 0}, 8, true), Z::segmentZone(2));
    EXPECT_EQ(g.zone({146, 0}, 8, true), Z::segmentZone(2));
    EXPECT_EQ(g.zone({146.01, 0}, 8, true), Z::outsideZone());
    EXPECT_EQ(g.zone({0, 100}, 0, true), Z::outsideZone());

    for (const auto& [operations, slots] : {std::pair{0, 4}, {3, 4}, {6, 6}, {12, 8}})
        EXPECT_EQ(WheelGeometry::slots(operations), slots) << operations;
}

TEST(WheelGeometry, ASegmentsOutlineHoldsItsLabelAndStaysApartFromItsNeighbour) {
    const QRectF rect(0, 0, 300, 300);
    const QPainterPath top = SegmentShape{0, 8, 60, 128, 5}.path(rect);
    EXPECT_TRUE(top.contains(QPointF(150, 150 - 94)));
    EXPECT_FALSE(top.contains(QPointF(150, 150 - 50)));
    EXPECT_FALSE(top.contains(QPointF(150, 150 - 130)));
    EXPECT_FALSE(top.intersects(SegmentShape{1, 8, 60, 128, 5}.path(rect)));
}

TEST(WheelGeometry, EveryDetailFitsTheCentreWithoutClipping) {
    QFont font;
    font.setPointSizeF(10.5 * 72 / 96);
    font.setWeight(QFont::DemiBold);
    const double radius = WheelGeometry().centerRadius - 5;
    for (const CatalogueRow& row : Catalogue::rows()) {
        for (const auto& [detail, language] : {std::pair{row.detail, Language::german},
                                               {row.detail, Language::english},
                                               {row.detailForMany, Language::german},
                                               {row.detailForMany, Language::english}}) {
            if (!detail)
                continue;
            const QString text = detail.in(language).arg(12);
            const CenterText fitted = CenterText::fit(text, font, radius);
            EXPECT_EQ(fitted.lines.join(u' '), text) << "elided";
            const QFontMetricsF metrics(fitted.font);
            const double allowed =
                CenterText::widthAllowed(radius, int(fitted.lines.size()), fitted.lineHeight);
            for (const QString& line : fitted.lines)
                EXPECT_LE(metrics.horizontalAdvance(line), allowed) << qPrintable(line);
        }
    }
    // A word too long for any size is elided on one line rather than drawn past the circle.
    const CenterText tooLong = CenterText::fit(QString(60, u'W'), font, radius);
    ASSERT_EQ(tooLong.lines.size(), 1);
    EXPECT_TRUE(tooLong.lines[0].endsWith(QChar(0x2026)));
}

TEST(WheelController, CentresThePanelOnThePointerAndClampsItIntoTheScreen) {
    const QRect screen(0, 0, 1920, 1080);
    EXPECT_EQ(WheelController::panelOrigin({700, 500}, 300, screen), QPoint(550, 350));
    // Near the corners the panel is kept whole on the screen, no longer centred.
    EXPECT_EQ(WheelController::panelOrigin({3, 1077}, 300, screen), QPoint(0, 780));
    EXPECT_EQ(WheelController::panelOrigin({1919, 2}, 300, screen), QPoint(1620, 0));
    // A second screen to the right, with a panel bar taking its top 40 pixels.
    const QRect right(1920, 40, 1280, 984);
    EXPECT_EQ(WheelController::panelOrigin({1930, 50}, 300, right), QPoint(1920, 40));
    // With no screen known the panel is simply centred.
    EXPECT_EQ(WheelController::panelOrigin({10, 10}, 300, std::nullopt), QPoint(-140, -140));
}

TEST(WheelController, ADropNeverAnswersMove) {
    EXPECT_EQ(WheelDropView::safeAction(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction),
              Qt::CopyAction);
    EXPECT_EQ(WheelDropView::safeAction(Qt::MoveAction, Qt::MoveAction), Qt::IgnoreAction);
    EXPECT_EQ(WheelDropView::safeAction(Qt::LinkAction, Qt::LinkAction), Qt::LinkAction);
}
