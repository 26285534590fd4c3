#include "PDFSplitModel.h"

#include "BackgroundWork.h"
#include "ConversionError.h"
#include "PDF/PDFConverter.h"
#include "Settings/DebugLog.h"
#include "Settings/UILanguage.h"

#include <QFileInfo>
#include <algorithm>

namespace tramix {

namespace {

QString text(const char* german, const char* english) {
    return UILanguage::text(QString::fromUtf8(german), QString::fromUtf8(english));
}

} // namespace

PDFSplitModel::PDFSplitModel(QString path, std::function<OutputContext()> context, QObject* parent)
    : QObject(parent)
    , path_(std::move(path))
    , context_(std::move(context)) {
    runInBackground(
        this, [path = path_] { return PDFConverter::pageCount(path); },
        [this](const Outcome<qint64>& outcome) {
            loading_ = false;
            if (outcome.value && *outcome.value < 1)
                error_ = describeError(ConversionError::unreadable(QFileInfo(path_).fileName()));
            else if (outcome.value)
                pageCount_ = outcome.value;
            else
                error_ = outcome.error;
            if (pageCount_)
                DebugLog::write(QStringLiteral("Editor: „%1“ bereit, %2 Seiten")
                                    .arg(QFileInfo(path_).fileName())
                                    .arg(*pageCount_));
            Q_EMIT changed();
        });
}

QList<PageRanges::Group> PDFSplitModel::groups(Mode mode, qint64 pageCount, int every,
                                               const QString& ranges, const QSet<qint64>& clicked) {
    QList<PageRanges::Group> groups;
    switch (mode) {
    case Mode::eachPage:
        every = 1;
        [[fallthrough]];
    case Mode::everyN:
        for (qint64 first = 1; first <= pageCount; first += std::max(every, 1)) {
            PageRanges::Group group;
            for (qint64 page = first; page < first + std::max(every, 1) && page <= pageCount;
                 ++page)
                group.append(page);
            groups.append(group);
        }
        return groups;
    case Mode::ranges:
        return PageRanges::parse(ranges, pageCount);
    case Mode::clicked: {
        PageRanges::Group pages;
        for (qint64 page : clicked) {
            if (page >= 1 && page <= pageCount)
                pages.append(page);
        }
        if (pages.isEmpty())
            throw ConversionError::failed(QStringLiteral("Keine Seiten ausgewählt."));
        std::sort(pages.begin(), pages.end());
        return {pages};
    }
    }
    Q_UNREACHABLE();
}

void PDFSplitModel::changeChoice() {
    if (!saving_)
        error_.reset();
    if (!pageCount_ && !loading_)
        return; // the document's own sentence stays
    Q_EMIT changed();
}

void PDFSplitModel::setMode(Mode mode) {
    if (mode == mode_)
        return;
    mode_ = mode;
    changeChoice();
}

void PDFSplitModel::setEvery(int every) {
    if (every < 1 || every == every_)
        return;
    every_ = every;
    changeChoice();
}

void PDFSplitModel::setRanges(const QString& text) {
    if (text == ranges_)
        return;
    ranges_ = text;
    changeChoice();
}

void PDFSplitModel::toggle(qint64 page) {
    if (!pageCount_ || page < 1 || page > *pageCount_)
        return;
    if (!clicked_.remove(page))
        clicked_.insert(page);
    changeChoice();
}

PDFSplitModel::Plan PDFSplitModel::plan() const {
    if (!pageCount_)
        return {{}, error_.value_or(QString())};
    try {
        return {groups(mode_, *pageCount_, every_, ranges_, clicked_), {}};
    } catch (const std::exception& error) {
        return {{}, describeError(error)};
    }
}

QString PDFSplitModel::summary() const {
    const Plan current = plan();
    if (current.groups.isEmpty())
        return {};
    const QString stem = outputStem(path_);
    if (current.groups.size() == 1)
        return text("Eine Datei: „%1 %2.pdf“", "One file: “%1 %2.pdf”")
            .arg(stem, PageRanges::label(current.groups.first()));
    return text("%1 Dateien im neuen Ordner „%2 aufgeteilt“",
                "%1 files in a new folder “%2 aufgeteilt”")
        .arg(current.groups.size())
        .arg(stem);
}

bool PDFSplitModel::canSplit() const {
    return !saving_ && !plan().groups.isEmpty();
}

void PDFSplitModel::split() {
    if (!canSplit())
        return;
    saving_ = true;
    error_.reset();
    Q_EMIT changed();
    runInBackground(
        this,
        [path = path_, groups = plan().groups, context = context_ ? context_() : OutputContext()] {
            return PDFConverter::split(path, groups, context);
        },
        [this](const Outcome<QStringList>& outcome) {
            saving_ = false;
            if (!outcome.value) {
                error_ = outcome.error;
                Q_EMIT changed();
                return;
            }
            for (const QString& written : *outcome.value)
                DebugLog::write(
                    QStringLiteral("Editor: „%1“ geschrieben").arg(QFileInfo(written).fileName()));
            Q_EMIT changed();
            if (onFinish)
                onFinish(*outcome.value);
        });
}

} // namespace tramix
