#include "Drag/WheelController.h"

#include "Drag/WheelDropView.h"

#include <gtest/gtest.h>

using namespace tramix;

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
