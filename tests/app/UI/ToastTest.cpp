// The toast: its texts, where it appears, how long it stays and what a click does.
#include "UI/ToastController.h"
#include "UI/ToastView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace tramix;
using State = ToastModel::State;

TEST(Toast, TextsOfEachStateInBothLanguages) {
    constexpr bool german = true;
    EXPECT_EQ(State::makeWorking("PNG", german).subtitle(), "Läuft lokal auf deinem Rechner …");
    State working = State::makeWorking("PNG · 4 Dateien", german);
    working.finished = 1;
    working.total = 4;
    EXPECT_EQ(working.subtitle(), "1 von 4 Dateien fertig");
    EXPECT_FALSE(working.clickable());

    const State one = State::makeDone("Fertig in 340 ms", {"/tmp/a/Urlaub.png"}, german);
    EXPECT_EQ(one.title(), "Fertig in 340 ms");
    EXPECT_EQ(one.subtitle(), "Urlaub.png");
    EXPECT_TRUE(one.clickable());
    const State three = State::makeDone("Fertig in 1.2 s", {"/a.png", "/b.png", "/c.png"}, german);
    EXPECT_EQ(three.subtitle(), "3 Dateien · Klicken zum Zeigen");
    EXPECT_FALSE(State::makeDone("Fertig in 3 ms", {}, german).clickable());

    const State failed = State::makeFailed("„x.jpg“ konnte nicht gelesen werden.", german);
    EXPECT_EQ(failed.title(), "Fehlgeschlagen");
    EXPECT_EQ(failed.subtitle(), "„x.jpg“ konnte nicht gelesen werden.");
    EXPECT_FALSE(failed.clickable());

    // An English interface adds English words around the same texts.
    working.german = false;
    EXPECT_EQ(working.subtitle(), "1 of 4 files done");
    EXPECT_EQ(State::makeWorking("PNG", !german).subtitle(), "Running locally on your computer …");
    EXPECT_EQ(State::makeDone("Done in 1.2 s", {"/a.png", "/b.png"}, !german).subtitle(),
              "2 files · Click to show");
    EXPECT_EQ(State::makeFailed("x", !german).title(), "Failed");

    // Long texts widen the card up to a bound; short ones keep the standard width.
    EXPECT_EQ(ToastView::fittingSize(one).width(), ToastView::minimumWidth);
    EXPECT_EQ(ToastView::fittingSize(State::makeFailed(QString(300, 'x'))).width(),
              ToastView::maximumWidth);
}

TEST(Toast, SitsBelowThePointerAndStaysInsideTheScreen) {
    const QRect screen(0, 0, 1920, 1050);
    const QSize size(288, 64);
    EXPECT_EQ(ToastController::origin({800, 400}, size, screen), QPoint(800 - 144, 424));
    // A second screen to the right keeps the card inside itself.
    EXPECT_EQ(ToastController::origin({1930, 500}, size, QRect(1920, 0, 1280, 1024)),
              QPoint(1928, 524));
    EXPECT_EQ(ToastController::origin({10, 10}, size, std::nullopt), QPoint(-134, 34));

    // At the corners of the real (off-screen) display it is pushed inside by the margin.
    ToastController toast;
    const QRect available = QApplication::primaryScreen()->availableGeometry();
    toast.show(State::makeFailed("x"), available.topLeft());
    EXPECT_EQ(toast.panelGeometry().topLeft(), available.topLeft() + QPoint(8, 24));
    toast.show(State::makeFailed("x"), available.bottomRight());
    EXPECT_EQ(toast.panelGeometry().bottomRight(), available.bottomRight() - QPoint(8, 8));
    EXPECT_EQ(toast.panelGeometry().size(), ToastView::fittingSize(State::makeFailed("x")));
}

TEST(Toast, HidesAfterItsTimeAndANewStateReplacesItInPlace) {
    EXPECT_EQ(ToastController::hideDelayMs(State::working), std::nullopt);
    EXPECT_EQ(ToastController::hideDelayMs(State::failed), 5000);

    ToastController toast;
    toast.show(State::makeWorking("PNG"), QPoint(500, 500));
    QTest::qWait(300);
    EXPECT_TRUE(toast.isShown()) << "a working toast waits for its result";

    QElapsedTimer clock;
    toast.show(State::makeDone("Fertig in 1.0 s", {"/tmp/a.png"}), QPoint(500, 500));
    QTest::qWait(1000);
    // A second job finishing later replaces the first in place and starts the time again.
    clock.start();
    toast.show(State::makeDone("Fertig in 2.0 s", {"/tmp/b.png"}), QPoint(600, 500));
    EXPECT_EQ(toast.model().state().subtitle(), "b.png");
    QSignalSpy visibility(&toast.model(), &ToastModel::visibleChanged);
    ASSERT_TRUE(visibility.wait(4000));
    EXPECT_FALSE(toast.model().visible());
    // Qt's coarse timers may fire up to 5 % early.
    EXPECT_GE(clock.elapsed(), 2600 * 95 / 100 - 10);
    EXPECT_LE(clock.elapsed(), 2600 + 1500);
    // The panel leaves a moment after the fade starts; a show in between keeps it.
    EXPECT_TRUE(toast.isShown());
    QTest::qWait(ToastController::hideMs + 150);
    EXPECT_FALSE(toast.isShown());

    toast.show(State::makeFailed("kaputt"), QPoint(500, 500));
    toast.hide();
    toast.show(State::makeFailed("kaputt"), QPoint(500, 500));
    QTest::qWait(ToastController::hideMs + 150);
    EXPECT_TRUE(toast.isShown()) << "a show during the fade brings it back";
    EXPECT_TRUE(toast.model().visible());
}

TEST(Toast, ClickingADoneToastRevealsItsFilesAndHidesIt) {
    ToastController toast;
    QList<QStringList> revealed;
    toast.onOpen = [&](const QStringList& paths) { revealed.append(paths); };
    toast.show(State::makeFailed("kaputt"), QPoint(500, 500));
    toast.click();
    EXPECT_TRUE(revealed.isEmpty()) << "a failed toast is not clickable";
    EXPECT_TRUE(toast.model().visible());

    const QStringList outputs = {"/tmp/a.png", "/tmp/b.png", "/tmp/c.png"};
    toast.show(State::makeDone("Fertig in 1.0 s", outputs), QPoint(500, 500));
    QWidget* card = QApplication::widgetAt(toast.panelGeometry().center());
    if (card) {
        QTest::mouseClick(card, Qt::LeftButton, {}, card->rect().center());
    } else {
        toast.click(); // off screen nothing is found under a point
    }
    EXPECT_EQ(revealed, QList<QStringList>{outputs});
    EXPECT_FALSE(toast.model().visible());
}

TEST(Toast, RendersAFinishedCardInLightAndDark) {
    const State state = State::makeDone("Fertig in 340 ms", {"/tmp/Urlaub.png"});
    const QImage light = ToastView::render(state, false);
    const QImage dark = ToastView::render(state, true);
    ASSERT_EQ(light.size(), ToastView::fittingSize(state) * 2);
    EXPECT_EQ(light.pixelColor(1, 1).alpha(), 0) << "rounded corners stay clear";
    EXPECT_GT(light.pixelColor(light.width() - 40, light.height() / 2).lightness(), 200);
    EXPECT_LT(dark.pixelColor(dark.width() - 40, dark.height() / 2).lightness(), 80);
    // The check mark's circle is green in both.
    const QColor mark = light.pixelColor(2 * 18, light.height() / 2);
    EXPECT_GT(mark.green(), mark.red() + 40);
}

TEST(Toast, AWorkingCardShowsItsFractionAndEndsInACancelButton) {
    State state = State::makeWorking("KOMPR.", true);
    state.fraction = 0.42;
    state.cancellable = true;
    EXPECT_EQ(state.subtitle(), "42 % fertig");
    const QImage light = ToastView::render(state, false);
    const QImage plain = ToastView::render(State::makeWorking("KOMPR.", true), false);
    const QPoint cancel =
        (ToastView::cancelBox(ToastView::fittingSize(state)).center() * 2).toPoint();
    EXPECT_LT(light.pixelColor(cancel).lightness(), 160) << "the cross of the button";
    EXPECT_GT(plain.pixelColor(cancel).lightness(), 240) << "no button when the job cannot stop";
}
