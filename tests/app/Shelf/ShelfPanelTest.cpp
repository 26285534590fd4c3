// The shelf's panel, off screen: where it appears, that showing it again adds to the same panel,
// and what the keys, the buttons and its header do.
#include "Shelf/FloatShelfController.h"
#include "Shelf/ShelfView.h"
#include "TestFiles.h"

#include <QApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using tramix::test::TestFolder;
using Spot = ShelfView::Spot;

namespace {

QStringList pathsOf(const ShelfModel& model) {
    QStringList paths;
    for (const ShelfModel::Item& item : model.items())
        paths.append(item.path);
    return paths;
}

void click(ShelfView& view, QPoint at) {
    QTest::mouseClick(&view, Qt::LeftButton, {}, at);
}

struct Shelf {
    TestFolder folder;
    QString store = folder.path("shelf.json");
    QStringList files{folder.file("Eins.jpg"), folder.file("Zwei.pdf"), folder.file("Drei.txt")};
    FloatShelfController controller{store};
    ShelfView& view = controller.view();
};

} // namespace

TEST(ShelfPanel, OpensCentredOnThePointInsideTheScreenAndShowingAgainAddsToIt) {
    const QRect screen(0, 0, 1920, 1050);
    const QSize size(328, 300);
    EXPECT_EQ(FloatShelfController::panelOrigin({800, 400}, size, screen), QPoint(636, 250));
    EXPECT_EQ(FloatShelfController::panelOrigin({5, 1049}, size, screen), QPoint(0, 750));
    EXPECT_EQ(FloatShelfController::panelOrigin({2000, 500}, size, QRect(1920, 0, 1280, 1024)),
              QPoint(1920, 350));
    // Larger than the screen: its top-left corner stays on it.
    EXPECT_EQ(FloatShelfController::panelOrigin({100, 100}, {900, 900}, QRect(0, 0, 800, 600)),
              QPoint(0, 0));
    EXPECT_EQ(FloatShelfController::panelOrigin({10, 10}, size, std::nullopt), QPoint(-154, -140));

    Shelf shelf;
    const QRect available = QApplication::primaryScreen()->availableGeometry();
    const QPoint near = available.center();
    shelf.controller.show(near, shelf.files.mid(0, 1));
    ASSERT_TRUE(shelf.controller.isVisible());
    const QRect first = shelf.controller.panelGeometry();
    EXPECT_EQ(first.size(), shelf.view.sizeHint());
    EXPECT_LE(std::abs(first.center().x() - near.x()), 1);
    EXPECT_LE(std::abs(first.center().y() - near.y()), 1);
    // The second time, elsewhere: the same panel takes the files and stays put, growing down.
    shelf.controller.show(available.topLeft(), shelf.files.mid(1));
    EXPECT_EQ(pathsOf(shelf.controller.model()), shelf.files);
    const QRect second = shelf.controller.panelGeometry();
    EXPECT_EQ(second.topLeft(), first.topLeft());
    EXPECT_GT(second.height(), first.height());
    // At a corner it is kept inside the screen.
    shelf.controller.hide();
    shelf.controller.show(available.bottomRight());
    EXPECT_EQ(shelf.controller.panelGeometry().bottomRight(), available.bottomRight());
}

TEST(ShelfPanel, KeysAndButtonsRemoveClearAndCloseButTheFilesStay) {
    Shelf shelf;
    shelf.controller.show({400, 400}, shelf.files);
    ShelfView& view = shelf.view;

    // A click selects a row; Delete takes it off the shelf and the next one is selected.
    click(view, view.rowRect(1).center());
    EXPECT_EQ(view.selected(), 1);
    QTest::keyClick(&view, Qt::Key_Delete);
    EXPECT_EQ(pathsOf(shelf.controller.model()), QStringList({shelf.files[0], shelf.files[2]}));
    EXPECT_EQ(view.selected(), 1);
    QTest::keyClick(&view, Qt::Key_Up);
    EXPECT_EQ(view.selected(), 0);
    // Each row's own button removes it.
    click(view, view.spotRect(Spot::removeRow, 0).center());
    EXPECT_EQ(pathsOf(shelf.controller.model()), QStringList({shelf.files[2]}));

    // Escape and the close button hide the panel and keep the files.
    QTest::keyClick(&view, Qt::Key_Escape);
    EXPECT_FALSE(shelf.controller.isVisible());
    shelf.controller.show({400, 400});
    EXPECT_TRUE(shelf.controller.isVisible());
    click(view, view.spotRect(Spot::close).center());
    EXPECT_FALSE(shelf.controller.isVisible());
    EXPECT_EQ(pathsOf(FloatShelfController(shelf.store).model()), QStringList({shelf.files[2]}));

    // Clearing empties the shelf and closes it, and leaves every file where it was.
    shelf.controller.show({400, 400}, shelf.files);
    click(view, view.spotRect(Spot::clear).center());
    EXPECT_FALSE(shelf.controller.isVisible());
    EXPECT_TRUE(shelf.controller.model().isEmpty());
    EXPECT_TRUE(FloatShelfController(shelf.store).model().isEmpty());
    for (const QString& file : shelf.files)
        EXPECT_TRUE(QFile::exists(file)) << file.toStdString();
}

TEST(ShelfPanel, TheHeaderMovesThePanelAndLongListsScroll) {
    Shelf shelf;
    QStringList many;
    for (int i = 0; i < 9; ++i)
        many.append(shelf.folder.file(QStringLiteral("Datei %1.txt").arg(i)));
    shelf.controller.show({500, 400}, many);
    ShelfView& view = shelf.view;
    // At most five rows show; the panel does not grow further.
    EXPECT_EQ(ShelfView::sizeFor(9, 0), ShelfView::sizeFor(ShelfView::visibleRows, 0));
    EXPECT_GT(ShelfView::sizeFor(ShelfView::visibleRows, 0).height(),
              ShelfView::sizeFor(ShelfView::visibleRows - 1, 0).height());
    EXPECT_EQ(shelf.controller.panelGeometry().size(), view.sizeHint());
    EXPECT_FALSE(view.rowRect(4).isNull());
    EXPECT_TRUE(view.rowRect(5).isNull());
    // Showing more files brings the last of them into view.
    shelf.controller.show({500, 400}, {shelf.folder.file("Neu.txt")});
    EXPECT_FALSE(view.rowRect(9).isNull());
    EXPECT_TRUE(view.rowRect(0).isNull());

    // Dragging the header moves the panel with the pointer.
    const QPoint before = shelf.controller.panelGeometry().topLeft();
    const QPoint grip = view.spotRect(Spot::header).center() - QPoint(60, 0);
    const auto send = [&](QEvent::Type type, QPoint at, Qt::MouseButtons buttons) {
        QMouseEvent event(type, at, view.mapToGlobal(at),
                          type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons, {});
        QApplication::sendEvent(&view, &event);
    };
    send(QEvent::MouseButtonPress, grip, Qt::LeftButton);
    send(QEvent::MouseMove, grip + QPoint(40, 25), Qt::LeftButton);
    send(QEvent::MouseButtonRelease, grip + QPoint(40, 25), Qt::NoButton);
    EXPECT_EQ(shelf.controller.panelGeometry().topLeft(), before + QPoint(40, 25));
}
