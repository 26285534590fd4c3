#include "TestDocuments.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace tramix::test {

namespace {

// LibreOffice asks for a restart after it has made a new profile.
constexpr int restartRequested = 81;

QString officeProgram() {
    const QString soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    const QString beside = QFileInfo(QFileInfo(soffice).canonicalFilePath())
                               .dir()
                               .filePath(QStringLiteral("soffice.bin"));
    return QFileInfo::exists(beside) ? beside : soffice;
}

} // namespace

QString officeDocument(const QString& html, const QString& ext) {
    static QTemporaryDir profile; // one warm profile for the whole test run
    const QFileInfo source(html);
    const QStringList arguments = {QStringLiteral("-env:UserInstallation=file://") + profile.path(),
                                   QStringLiteral("--headless"),
                                   QStringLiteral("--norestore"),
                                   QStringLiteral("--infilter=HTML (StarWriter)"),
                                   QStringLiteral("--convert-to"),
                                   ext,
                                   QStringLiteral("--outdir"),
                                   source.absolutePath(),
                                   source.absoluteFilePath()};
    for (int attempt = 0; attempt < 2; ++attempt) {
        QProcess office;
        office.start(officeProgram(), arguments);
        office.waitForFinished(-1);
        if (office.exitCode() != restartRequested)
            break;
    }
    const QString made = source.absolutePath() + u'/' + source.completeBaseName() + u'.' + ext;
    EXPECT_TRUE(QFileInfo::exists(made)) << made.toStdString();
    return made;
}

} // namespace tramix::test
