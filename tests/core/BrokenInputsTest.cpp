// Every operation offered for a file, run on broken and hostile files of each kind: nothing
// crashes or hangs, nothing wrong is written, and every failure is a German sentence.
#include "Catalogue/OperationRegistry.h"
#include "JobRunner.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "TestPDFs.h"
#include "WheelMode.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <future>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace tramix;
using namespace tramix::test;

namespace {

constexpr auto longestRun = std::chrono::seconds(60);

QByteArray cut(const QByteArray& bytes, double share) {
    return bytes.left(qsizetype(double(bytes.size()) * share));
}

QByteArray flipped(QByteArray bytes) {
    for (qsizetype i = bytes.size() / 3; i < bytes.size(); i += 97)
        bytes[i] = char(bytes[i] ^ 0x5a);
    return bytes;
}

// The kinds users drop, each broken in the ways files get broken.
QStringList brokenFiles(const TestFolder& dir) {
    const QByteArray jpeg = readBytes(saveImage(photoLike(300, 200), dir.path("gut.jpg")));
    const QByteArray png = readBytes(saveImage(photoLike(300, 200), dir.path("gut.png")));
    const QByteArray gif = readBytes(saveImage(photoLike(300, 200), dir.path("gut.gif")));
    const QByteArray pdf = textPDF({"Eins", "Zwei", "Drei"});
    QStringList files{
        dir.file("leer.jpg", {}),
        dir.file("halb.jpg", cut(jpeg, 0.5)),
        dir.file("halb.png", cut(png, 0.4)),
        dir.file("halb.gif", cut(gif, 0.6)),
        dir.file("rauschen.png", QByteArray(2000, '\x89')),
        dir.file("halb.pdf", cut(pdf, 0.5)),
        dir.file("gekippt.pdf", flipped(pdf)),
        dir.file("leer.csv", {}),
        dir.file("latin1.csv", "Stadt;Zahl\nK\xf6ln;1\n"),
        dir.file("halb.xlsx", "PK\x03\x04 kein Arbeitsblatt"),
        dir.file("halb.zip", "PK\x03\x04\x14\x00\x00\x00"),
        dir.file("halb.tar.gz", cut(QByteArray(512, '\x1f'), 0.5)),
        dir.file("text.md", "# Titel\n\n[x](javascript:alert(1)) `*a*`\n"),
    };
    const QString fifo = dir.path("rohr.pdf");
    ::mkfifo(QFile::encodeName(fifo).constData(), 0644);
    return files << fifo;
}

// A complete German sentence of ours: no tool's or library's English, no staging name.
bool looksLikeOurSentence(const QString& message) {
    static const QRegularExpression english(
        QStringLiteral("\\b(error|failed|denied|No such|Unknown|cannot|invalid|warning)\\b"),
        QRegularExpression::CaseInsensitiveOption);
    const bool unbuilt = message.startsWith(QStringLiteral("Nicht unterstützt: "));
    return !message.isEmpty() && (unbuilt || message.endsWith(u'.') || message.endsWith(u'“')) &&
           !english.match(message).hasMatch() && !message.contains(QStringLiteral(".part"));
}

} // namespace

TEST(BrokenInputs, EveryOfferedOperationFailsWithASentenceOrWritesSomethingWhole) {
    TestFolder dir;
    const QString out = dir.folder("ergebnisse");
    int runs = 0;
    for (const QString& file : brokenFiles(dir)) {
        for (WheelMode mode : WheelMode::allCases()) {
            for (const FileOperation& operation : OperationRegistry::operations(mode, {file})) {
                if (OperationRegistry::needsDesktop(operation.id))
                    continue;
                SCOPED_TRACE((QFileInfo(file).fileName() + u' ' + operation.id).toStdString());
                auto job = std::async(std::launch::async, [&] {
                    return JobRunner::run(operation, {file}, OutputContext{out, 0.85});
                });
                ASSERT_EQ(job.wait_for(longestRun), std::future_status::ready) << "hangs";
                const JobResult result = job.get();
                ++runs;
                for (const JobResult::Failure& failure : result.failures)
                    EXPECT_TRUE(looksLikeOurSentence(failure.message))
                        << failure.message.toStdString();
                for (const QString& output : result.outputs) {
                    const QFileInfo written(output);
                    EXPECT_TRUE(written.isDir() || written.size() > 0) << output.toStdString();
                    if (written.suffix() == u"pdf") {
                        EXPECT_GT(pageCountOf(output), 0) << output.toStdString();
                    }
                }
                // Damaged pictures must never come out as a "successful" picture.
                const bool damaged = QFileInfo(file).baseName() == u"halb" ||
                                     QFileInfo(file).baseName() == u"gekippt";
                const bool drawsPicture = operation.id.startsWith(u"convert.image.") ||
                                          operation.id.startsWith(u"tool.image.");
                if (damaged && drawsPicture &&
                    (file.endsWith(u".jpg") || file.endsWith(u".png") || file.endsWith(u".gif"))) {
                    EXPECT_TRUE(result.outputs.isEmpty()) << operation.id.toStdString();
                }
            }
        }
    }
    EXPECT_GT(runs, 40);
    EXPECT_EQ(namesIn(out).filter(QStringLiteral(".part")), QStringList());
}
