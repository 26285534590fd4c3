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
#include <QThread>
#include <gtest/gtest.h>

using namespace tramix;
using tramix::test::TestFolder;

namespace {

struct Fixture : tramix::test::PrivateStores {
    JobCenter jobs{settings, history};
    int sounds = 0;

    Fixture() {
        jobs.playSound = [this] { ++sounds; };
        // Revealing would start a file manager.
        jobs.toast().onOpen = [](const QStringList&) {};
    }

    QString photo(const QString& name) const {
        using namespace tramix::test;
        return saveImage(halves(40, 20, red, blue), folder.path(name));
    }

    JobResult runAndWait(const FileOperation& operation, const QStringList& paths) {
        QSignalSpy finished(&jobs, &JobCenter::jobFinished);
        jobs.run(operation, paths, QPoint(400, 300));
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
    const qint64 totalBefore = f.history.total();

    const FileOperation png = pngOperation({jpeg});
    QSignalSpy finished(&f.jobs, &JobCenter::jobFinished);
    f.jobs.run(png, {jpeg}, QPoint(400, 300));
    // The working toast is up at once, with the bare title for a single file.
    EXPECT_EQ(f.jobs.toast().model().state(), ToastModel::State::makeWorking(png.title));
    EXPECT_TRUE(f.jobs.toast().isShown());
    ASSERT_TRUE(finished.wait(30000));

    EXPECT_TRUE(QFileInfo(f.folder.path("Urlaub.png")).isFile());
    const ToastModel::State& toast = f.jobs.toast().model().state();
    EXPECT_EQ(toast.kind, ToastModel::State::done);
    EXPECT_TRUE(
        QRegularExpression("^Fertig in (\\d+ ms|\\d+\\.\\d s)$").match(toast.title()).hasMatch())
        << toast.title().toStdString();
    EXPECT_EQ(toast.subtitle(), "Urlaub.png");
    EXPECT_EQ(f.sounds, 1);
    ASSERT_EQ(f.history.entries().size(), 1);
    EXPECT_EQ(f.history.entries().first().title, png.title);
    EXPECT_EQ(f.history.entries().first().outputs, QStringList{f.folder.path("Urlaub.png")});
    EXPECT_FALSE(f.history.entries().first().failed);
    EXPECT_EQ(f.history.total(), totalBefore + 1);

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
    const qint64 totalBefore = f.history.total();
    const FileOperation png = pngOperation({good, bad});

    QSignalSpy finished(&f.jobs, &JobCenter::jobFinished);
    f.jobs.run(png, {good, bad}, QPoint(400, 300));
    EXPECT_EQ(f.jobs.toast().model().state().title(), png.title + " · 2 Dateien");
    ASSERT_TRUE(finished.wait(30000));

    EXPECT_TRUE(QFileInfo(f.folder.path("gut.png")).isFile());
    EXPECT_FALSE(QFileInfo::exists(f.folder.path("kaputt.png")));
    const ToastModel::State& toast = f.jobs.toast().model().state();
    EXPECT_EQ(toast.kind, ToastModel::State::failed);
    EXPECT_EQ(toast.title(), "Fehlgeschlagen");
    EXPECT_EQ(toast.subtitle(), "„kaputt.jpg“ konnte nicht gelesen werden.");
    EXPECT_EQ(f.sounds, 0) << "a failure never plays the sound";
    ASSERT_EQ(f.history.entries().size(), 1);
    EXPECT_TRUE(f.history.entries().first().failed);
    EXPECT_EQ(f.history.total(), totalBefore);

    // Of several failures the first one speaks for them, with the count.
    const QString worse = f.folder.file("leer.jpg", "");
    f.runAndWait(png, {good, bad, worse});
    EXPECT_TRUE(f.jobs.toast().model().state().subtitle().startsWith("2 von 3 fehlgeschlagen: „"))
        << f.jobs.toast().model().state().subtitle().toStdString();
    EXPECT_EQ(f.history.total(), totalBefore);
}

TEST(JobCenter, InstantActionsReportNothingAndSettingsChooseTheContext) {
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

    f.settings.setQuality(0.5);
    f.settings.setOutputFolder(f.folder.path("out"));
    EXPECT_EQ(f.jobs.context().folder, std::nullopt) << "next to the original wins";
    EXPECT_EQ(f.jobs.context().quality, 0.5);
    f.settings.setWriteNextToOriginal(false);
    EXPECT_EQ(f.jobs.context().folder, f.folder.path("out"));

    EXPECT_EQ(JobCenter::format(0.34), "340 ms");
    EXPECT_EQ(JobCenter::format(2.44), "2.4 s");

    // An editor's own result counts as a finished job.
    f.jobs.finished("Zugeschnitten", {f.folder.path("x.png")}, QPoint(10, 10));
    EXPECT_EQ(f.jobs.toast().model().state(),
              ToastModel::State::makeDone("Zugeschnitten", {f.folder.path("x.png")}));
    ASSERT_EQ(f.history.entries().size(), 1);
    EXPECT_FALSE(f.history.entries().first().failed);
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
        const ToastModel::State& state = f.jobs.toast().model().state();
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
    EXPECT_EQ(f.jobs.toast().model().state().subtitle(), "6 Dateien · Klicken zum Zeigen");
}
