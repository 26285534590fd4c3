#include "OfficeSuite.h"

#include "ChildProcess.h"
#include "ConversionError.h"
#include "EngineLog.h"
#include "OfficeProfile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <algorithm>
#include <csignal>
#include <unistd.h>

namespace tramix::OfficeSuite {

namespace {

// LibreOffice asks to be started again after it has set up a new profile.
constexpr int restartRequested = 81;
constexpr int pollMs = 100; // how soon a cancel or a hang is noticed

QString officeProgram(const Options& options) {
    if (!options.program.isEmpty())
        return options.program;
    const QString soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
    if (soffice.isEmpty())
        throw ConversionError::failed(QStringLiteral(
            "Für Dokumente wird LibreOffice gebraucht (Paket „libreoffice-writer-nogui“)."));
    // The real program, not the launcher in front of it: a launcher killed after a hang would
    // leave LibreOffice itself running.
    const QString program = QFileInfo(QFileInfo(soffice).canonicalFilePath())
                                .dir()
                                .filePath(QStringLiteral("soffice.bin"));
    return QFileInfo(program).isExecutable() ? program : soffice;
}

// LibreOffice runs in a process group of its own, so that whatever it starts goes with it.
void detach(pid_t parent) {
    ::setpgid(0, 0);
    ChildProcess::dieWithParent(parent);
}

// `group` is the pid read at the start: once the process has ended Qt says 0, and a kill of
// group 0 would hit our own.
void killGroup(pid_t group) {
    if (group > 0)
        ::kill(-group, SIGKILL);
}

QString loadFailure(const QString& name) {
    return QStringLiteral("„%1“ ist beschädigt oder kein lesbares Dokument.").arg(name);
}

enum class End { normal, crashed, hung };

// One start of LibreOffice over some of the sources, following its report line by line. It
// announces each document after loading it and before saving it, in order.
class OfficeRun {
public:
    OfficeRun(const QList<Source>& sources, const QList<qsizetype>& order, const Target& target,
              const QString& outFolder, const Finished& finished)
        : sources_(sources)
        , order_(order)
        , target_(target)
        , outFolder_(outFolder)
        , finished_(finished) {}

    // The sources still to do after the start ended: none unless it hung or crashed, and then
    // never the one that made it.
    QList<qsizetype> run(const QString& program, const QString& profile,
                         const std::function<bool()>& cancelled, const Options& options);

private:
    void readLine(const QByteArray& line);
    void announce(qsizetype position);
    void skipTo(qsizetype position);
    void endSaving();
    bool savedWhole(qsizetype index) const;
    QList<qsizetype> finish(End end, int exitCode, const Options& options);

    const QList<Source>& sources_;
    QList<qsizetype> order_;
    const Target& target_;
    QString outFolder_;
    const Finished& finished_;
    qsizetype next_ = 0;    // position in order_ of the next document to be loaded
    qsizetype saving_ = -1; // position being saved, or none
    bool announcedAny_ = false;
};

QStringList argumentsFor(const QString& profile, const Target& target, const QString& outFolder,
                         const QList<Source>& sources, const QList<qsizetype>& order,
                         const Options& options) {
    QStringList arguments = {QStringLiteral("-env:UserInstallation=") + profile,
                             QStringLiteral("--headless"),
                             QStringLiteral("--invisible"),
                             QStringLiteral("--norestore"),
                             QStringLiteral("--nologo"),
                             QStringLiteral("--nodefault"),
                             QStringLiteral("--convert-to"),
                             target.ext + u':' + target.filter,
                             QStringLiteral("--outdir"),
                             outFolder};
    if (!options.inputFilter.isEmpty())
        arguments.append(QStringLiteral("--infilter=") + options.inputFilter);
    for (qsizetype index : order)
        arguments.append(sources[index].path);
    return arguments;
}

QList<qsizetype> OfficeRun::run(const QString& program, const QString& profile,
                                const std::function<bool()>& cancelled, const Options& options) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(argumentsFor(profile, target_, outFolder_, sources_, order_, options));
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    // Its temporary files go where our scratch work goes, and with it.
    const QString temporary = outFolder_ + QStringLiteral("/.temporary");
    QDir().mkpath(temporary);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), temporary);
    process.setProcessEnvironment(environment);
    const pid_t parent = ::getpid();
    process.setChildProcessModifier([parent] { detach(parent); });
    process.start();
    if (!process.waitForStarted(-1)) {
        qCWarning(engineLog) << program << "did not start:" << process.errorString();
        throw ConversionError::failed(QStringLiteral("LibreOffice konnte nicht gestartet werden."));
    }
    const pid_t group = pid_t(process.processId());
    QElapsedTimer quiet;
    quiet.start();
    End end = End::normal;
    auto readLines = [&] {
        while (process.canReadLine()) {
            readLine(process.readLine().trimmed());
            quiet.restart();
        }
    };
    while (process.state() != QProcess::NotRunning) {
        process.waitForReadyRead(pollMs);
        readLines();
        if (cancelled && cancelled()) {
            killGroup(group);
            process.waitForFinished(-1);
            throw ConversionError::cancelled();
        }
        if (std::chrono::milliseconds(quiet.elapsed()) > options.quiet) {
            killGroup(group);
            process.waitForFinished(-1);
            end = End::hung;
        }
    }
    process.waitForFinished(-1);
    readLines();
    if (end == End::normal && process.exitStatus() == QProcess::CrashExit)
        end = End::crashed;
    killGroup(group); // whatever it started of its own goes too
    return finish(end, process.exitCode(), options);
}

void OfficeRun::readLine(const QByteArray& line) {
    static const QByteArray converting = "convert ";
    static const QByteArray arrow = " -> ";
    static const QByteArray notLoaded = "Error: source file could not be loaded";
    if (line.startsWith(converting) && line.contains(arrow)) {
        const QString path =
            QString::fromUtf8(line.mid(converting.size(), line.indexOf(arrow) - converting.size()));
        for (qsizetype position = next_; position < order_.size(); ++position) {
            if (QFileInfo(sources_[order_[position]].path).absoluteFilePath() ==
                QFileInfo(path).absoluteFilePath()) {
                announce(position);
                return;
            }
        }
    } else if (line.startsWith(notLoaded)) {
        endSaving();
        if (next_ < order_.size())
            finished_(order_[next_], loadFailure(sources_[order_[next_]].name));
        ++next_;
        return;
    }
    if (!line.isEmpty())
        qCDebug(engineLog).noquote() << "LibreOffice:" << QString::fromUtf8(line);
}

void OfficeRun::announce(qsizetype position) {
    endSaving();
    skipTo(position);
    saving_ = position;
    next_ = position + 1;
    announcedAny_ = true;
}

// Documents passed over without a word were not loaded.
void OfficeRun::skipTo(qsizetype position) {
    for (; next_ < position; ++next_)
        finished_(order_[next_], loadFailure(sources_[order_[next_]].name));
}

void OfficeRun::endSaving() {
    if (saving_ < 0)
        return;
    const qsizetype index = order_[saving_];
    saving_ = -1;
    if (savedWhole(index))
        finished_(index, std::nullopt);
    else
        finished_(index, QStringLiteral("LibreOffice konnte „%1“ nicht als %2 speichern.")
                             .arg(sources_[index].name, target_.ext.toUpper()));
}

// LibreOffice keeps a lock file beside a result while it writes it.
bool OfficeRun::savedWhole(qsizetype index) const {
    const QFileInfo result(resultPath(sources_[index], target_, outFolder_));
    const QString lock = outFolder_ + QStringLiteral("/.~lock.") + result.fileName() + u'#';
    return result.exists() && result.size() > 0 && !QFileInfo::exists(lock);
}

QList<qsizetype> OfficeRun::finish(End end, int exitCode, const Options& options) {
    if (end == End::normal && exitCode == restartRequested && !announcedAny_)
        return order_.mid(next_);
    if (end == End::normal) {
        endSaving();
        skipTo(order_.size());
        return {};
    }
    // The document being saved made it stop, unless it was saved whole; else the next one,
    // which was being loaded.
    qsizetype culprit = next_;
    if (saving_ >= 0 && !savedWhole(order_[saving_]))
        culprit = saving_;
    else
        endSaving();
    if (culprit >= order_.size())
        return {};
    const QString& name = sources_[order_[culprit]].name;
    const qint64 seconds = std::chrono::duration_cast<std::chrono::seconds>(options.quiet).count();
    finished_(order_[culprit],
              end == End::hung
                  ? QStringLiteral("LibreOffice hat an „%1“ über %2 Sekunden ohne Ergebnis "
                                   "gearbeitet und wurde beendet.")
                        .arg(name)
                        .arg(seconds)
                  : QStringLiteral("LibreOffice ist bei „%1“ abgestürzt.").arg(name));
    return order_.mid(culprit + 1);
}

} // namespace

Target targetFor(const QString& ext) {
    static const QHash<QString, QString> filters = {
        {QStringLiteral("docx"), QStringLiteral("MS Word 2007 XML")},
        {QStringLiteral("pdf"), QStringLiteral("writer_pdf_Export")},
        {QStringLiteral("rtf"), QStringLiteral("Rich Text Format")},
        {QStringLiteral("odt"), QStringLiteral("writer8")},
        {QStringLiteral("html"), QStringLiteral("HTML (StarWriter):EmbedImages")},
        {QStringLiteral("txt"), QStringLiteral("Text (encoded):UTF8,LF")},
    };
    return {ext, filters.value(ext)};
}

QString resultPath(const Source& source, const Target& target, const QString& outFolder) {
    return outFolder + u'/' + QFileInfo(source.path).completeBaseName() + u'.' + target.ext;
}

void convert(const QList<Source>& sources, const Target& target, const QString& outFolder,
             const Finished& finished, const std::function<bool()>& cancelled,
             const Options& options) {
    if (sources.isEmpty())
        return;
    const QString program = officeProgram(options);
    Options patient = options;
    qint64 largest = 0;
    for (const Source& source : sources)
        largest = std::max(largest, QFileInfo(source.path).size());
    patient.quiet += quietPerMegabyte * (largest / (1024 * 1024));
    OfficeProfile profile;
    QList<qsizetype> order;
    for (qsizetype i = 0; i < sources.size(); ++i)
        order.append(i);
    int restarts = 0;
    while (!order.isEmpty()) {
        OfficeRun run(sources, order, target, outFolder, finished);
        const QList<qsizetype> rest = run.run(program, profile.url(), cancelled, patient);
        // A start that did nothing at all asked for a restart; it does so only once.
        if (rest == order && ++restarts > 1) {
            for (qsizetype index : rest)
                finished(index, QStringLiteral("LibreOffice ist fehlgeschlagen."));
            return;
        }
        order = rest;
    }
}

} // namespace tramix::OfficeSuite
