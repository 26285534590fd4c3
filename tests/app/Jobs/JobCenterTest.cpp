// Jobs chosen in the interface, run end to end with the real converters.
#include "Jobs/JobCenter.h"

#include "Catalogue/OperationRegistry.h"
#include "ConversionError.h"
#include "Settings/AppSettings.h"
#include "Settings/History.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "app/Settings/PrivateStores.h"

#include <QFileInfo>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <gtest/gtest.h>

using namespace tramix;
using tramix::test::TestFolder;

namespace {

struct Fixture : tramix::test::PrivateStores {
    JobCenter jobs{settings, history};
    int sounds = 0;
    ToastModel::State started;

    Fixture() {
        jobs.german = true;
        jobs.playSound = [this] { ++sounds; };
        // Revealing would start a file manager.
        jobs.toast().onOpen = [](const QStringList&) {};
    }

    QString photo(const QString& name) const {
        using namespace tramix::test;
        return saveImage(halves(40, 20, red, blue), folder.path(name));
    }

    const ToastModel::State& toast() { return jobs.toast().model().state(); }

    // Runs the job and waits for its report; `started` is what the toast showed at once.
    JobResult runAndWait(const FileOperation& operation, const QStringList& paths) {
        QSignalSpy finished(&jobs, &JobCenter::jobFinished);
        jobs.run(operation, paths, QPoint(400, 300));
        started = jobs.toast().isShown() ? toast() : ToastModel::State();
        // Instant operations report before `run` returns.
        if (finished.isEmpty()) {
            EXPECT_TRUE(finished.wait(30000)) << "the job never reported";
        }
        return finished.isEmpty() ? JobResult{} : finished.first().first().value<JobResult>();
    }
};

FileOperation pngOperation(const QStringList& paths) {
    for (const FileOperation& operation : OperationRegistry::convertOperations(paths))
        if (operation.id == u"convert.image.png")
            return operation;
    ADD_FAILURE() << "no PNG conversion for these files";
    return {};
}

FileOperation fake(OperationStyle style, PerformFunction perform) {
    return {"test.fake", "FAKE", "Fake", std::nullopt, style, std::move(perform)};
}

} // namespace

TEST(JobCenter, ConvertsAJpegToPngAndReportsItDoneWithSoundHistoryAndTotal) {
    Fixture f;
    const QString jpeg = f.photo("Urlaub.jpg");
    const FileOperation png = pngOperation({jpeg});
    f.runAndWait(png, {jpeg});
    // The working toast was up at once, with the bare title for a single file and a way to stop.
    ToastModel::State working = ToastModel::State::makeWorking(png.title, true);
    working.cancellable = true;
    EXPECT_EQ(f.started, working);

    EXPECT_TRUE(QFileInfo(f.folder.path("Urlaub.png")).isFile());
    EXPECT_EQ(f.toast().kind, ToastModel::State::done);
    EXPECT_TRUE(QRegularExpression("^Fertig in (\\d+ ms|\\d+\\.\\d s)$")
                    .match(f.toast().title())
                    .hasMatch())
        << f.toast().title().toStdString();
    EXPECT_EQ(f.toast().subtitle(), "Urlaub.png");
    EXPECT_EQ(f.sounds, 1);
    ASSERT_EQ(f.history.entries().size(), 1);
    EXPECT_EQ(f.history.entries().first().title, png.title);
    EXPECT_EQ(f.history.entries().first().outputs, QStringList{f.folder.path("Urlaub.png")});
    EXPECT_FALSE(f.history.entries().first().failed);
    EXPECT_EQ(f.history.total(), 1);

    // With the sound off, a success stays quiet.
    f.settings.setPlaySound(false);
    f.runAndWait(png, {jpeg});
    EXPECT_EQ(f.sounds, 1);
    EXPECT_TRUE(QFileInfo(f.folder.path("Urlaub 2.png")).isFile()) << "nothing is overwritten";
}

TEST(JobCenter, OneDamagedFileOfTwoFailsTheJobButKeepsTheGoodOutput) {
    Fixture f;
    const QString good = f.photo("gut.jpg");
    const QString bad = f.folder.file("kaputt.jpg", "no image at all");
    const FileOperation png = pngOperation({good, bad});
    f.runAndWait(png, {good, bad});
    EXPECT_EQ(f.started.title(), png.title + " · 2 Dateien");

    EXPECT_TRUE(QFileInfo(f.folder.path("gut.png")).isFile());
    EXPECT_FALSE(QFileInfo::exists(f.folder.path("kaputt.png")));
    EXPECT_EQ(f.toast(),
              ToastModel::State::makeFailed("„kaputt.jpg“ konnte nicht gelesen werden.", true));
    EXPECT_EQ(f.sounds, 0) << "a failure never plays the sound";
    ASSERT_EQ(f.history.entries().size(), 1);
    EXPECT_TRUE(f.history.entries().first().failed);

    // Of several failures the first one speaks for them, with the count.
    f.runAndWait(png, {good, bad, f.folder.file("leer.jpg", "")});
    EXPECT_TRUE(f.toast().subtitle().startsWith("2 von 3 fehlgeschlagen: „"))
        << f.toast().subtitle().toStdString();
    EXPECT_EQ(f.history.total(), 0);

    // An English interface puts English words around them.
    f.jobs.german = false;
    f.runAndWait(png, {good, bad, f.folder.file("leer2.jpg", "")});
    EXPECT_EQ(f.started.title(), png.title + " · 3 files");
    EXPECT_TRUE(f.toast().subtitle().startsWith("2 of 3 failed: „"));
    EXPECT_EQ(f.toast().title(), "Failed");
}

TEST(JobCenter, InstantActionsReportOnlyTheirFailuresAndSettingsChooseTheContext) {
    Fixture f;
    // They drive the clipboard and windows, which live on the interface thread.
    bool ranOnTheInterfaceThread = false;
    QThread* const interfaceThread = QThread::currentThread();
    const FileOperation instant =
        fake(OperationStyle::instant, [&](const QStringList& in, const OutputContext&) {
            ranOnTheInterfaceThread = QThread::currentThread() == interfaceThread;
            return in;
        });
    f.runAndWait(instant, {f.folder.file("a.txt")});
    EXPECT_TRUE(ranOnTheInterfaceThread);
    EXPECT_FALSE(f.jobs.toast().isShown());
    EXPECT_TRUE(f.history.entries().isEmpty());
    EXPECT_EQ(f.sounds, 0);

    // A failing one says why in the toast, and is not history either.
    const FileOperation failing =
        fake(OperationStyle::instant, [](const QStringList&, const OutputContext&) -> QStringList {
            throw ConversionError::failed(QStringLiteral("Kein Terminal gefunden."));
        });
    f.runAndWait(failing, {f.folder.file("b.txt")});
    ASSERT_TRUE(f.jobs.toast().isShown());
    EXPECT_EQ(f.toast().kind, ToastModel::State::failed);
    EXPECT_EQ(f.toast().subtitle(), "Kein Terminal gefunden.");
    EXPECT_TRUE(f.history.entries().isEmpty());

    f.settings.setQuality(0.5);
    f.settings.setOutputFolder(f.folder.path("out"));
    EXPECT_EQ(f.jobs.context().folder, std::nullopt) << "next to the original wins";
    EXPECT_EQ(f.jobs.context().quality, 0.5);
    f.settings.setWriteNextToOriginal(false);
    EXPECT_EQ(f.jobs.context().folder, f.folder.path("out"));

    EXPECT_EQ(JobCenter::format(0.34), "340 ms");
    EXPECT_EQ(JobCenter::format(2.44), "2.4 s");
}

TEST(JobCenter, ALongJobShowsHowManyOfItsFilesAreDone) {
    Fixture f;
    QStringList inputs;
    for (int i = 0; i < 6; ++i)
        inputs.append(f.folder.file(QStringLiteral("f%1.txt").arg(i)));
    std::atomic<int> calls = 0;
    const FileOperation slow =
        fake(OperationStyle::perFile, [&](const QStringList& in, const OutputContext&) {
            QThread::msleep(++calls <= 2 ? 900 : 50);
            return QStringList{in.first() + ".out"};
        });
    QList<qsizetype> seen;
    QObject::connect(&f.jobs.toast().model(), &ToastModel::stateChanged, [&] {
        const ToastModel::State& state = f.toast();
        if (state.kind == ToastModel::State::working && state.total > 0) {
            EXPECT_EQ(state.total, 6);
            EXPECT_EQ(state.subtitle(),
                      QStringLiteral("%1 von 6 Dateien fertig").arg(state.finished));
            seen.append(state.finished);
        }
    });
    f.runAndWait(slow, inputs);
    EXPECT_FALSE(seen.isEmpty()) << "a job of about a second showed no progress";
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_EQ(f.toast().subtitle(), "6 Dateien · Klicken zum Zeigen");
}

TEST(JobCenter, ALongSingleFileShowsItsFractionAndTheCancelButtonStopsIt) {
    Fixture f;
    const QString input = f.folder.file("lang.mov");
    const FileOperation endless =
        fake(OperationStyle::perFile, [](const QStringList&, const OutputContext& context) {
            for (double part = 0;; part = std::min(0.9, part + 0.01)) {
                context.reportFraction(part);
                context.throwIfCancelled();
                QThread::msleep(20);
            }
            return QStringList();
        });
    QSignalSpy finished(&f.jobs, &JobCenter::jobFinished);
    f.jobs.run(endless, {input}, QPoint(400, 300));
    ASSERT_TRUE(QTest::qWaitFor([&] { return f.toast().fraction > 0; }, 5000));
    EXPECT_TRUE(f.toast().cancellable);
    EXPECT_TRUE(f.toast().subtitle().endsWith(" % fertig")) << f.toast().subtitle().toStdString();
    f.jobs.toast().onCancel();
    ASSERT_TRUE(finished.wait(5000));
    EXPECT_EQ(f.toast().kind, ToastModel::State::cancelled);
    EXPECT_EQ(f.toast().title(), "Abgebrochen");
    EXPECT_TRUE(finished.first().first().value<JobResult>().cancelled);
    EXPECT_TRUE(f.history.entries().first().failed);
}
