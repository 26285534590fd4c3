#include "JobRunner.h"

#include "ConversionError.h"
#include "SystemError.h"

#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <vector>

namespace tramix::JobRunner {

namespace {

struct CallOutcome {
    QStringList outputs;
    std::optional<QString> error;
};

// Pipes, sockets and devices would block a reader forever or never end; refused before any
// converter opens them. Folders pass: archiving takes them.
std::optional<QString> refusal(const QString& input) {
    // What cannot be looked at (gone, a dangling link) is for the converter to explain.
    struct stat info;
    if (::stat(QFile::encodeName(input).constData(), &info) != 0 || S_ISREG(info.st_mode) ||
        S_ISDIR(info.st_mode))
        return std::nullopt;
    return QStringLiteral("„%1“ ist keine gewöhnliche Datei.").arg(QFileInfo(input).fileName());
}

CallOutcome call(const FileOperation& operation, const QStringList& inputs,
                 const OutputContext& context) {
    try {
        return {operation.perform(inputs, context), std::nullopt};
    } catch (const std::system_error& error) {
        // The file system's errors, which the standard library throws, read as ours.
        return {{}, SystemError::writeReason(error.code().value())};
    } catch (const std::exception& error) {
        return {{}, describeError(error)};
    } catch (...) {
        return {{}, QStringLiteral("Unbekannter Fehler.")};
    }
}

// The inputs a converter may open; the others fail with their refusal.
QStringList accepted(const QStringList& all, JobResult& result) {
    QStringList inputs;
    for (const QString& input : all) {
        if (const std::optional<QString> refused = refusal(input))
            result.failures.append({input, *refused});
        else
            inputs.append(input);
    }
    return inputs;
}

void runCombined(const FileOperation& operation, const QStringList& all,
                 const OutputContext& context, JobResult& result) {
    const QStringList inputs = accepted(all, result);
    if (inputs.isEmpty())
        return;
    CallOutcome outcome = call(operation, inputs, context);
    if (!outcome.error) {
        result.outputs = std::move(outcome.outputs);
        return;
    }
    for (const QString& input : inputs)
        result.failures.append({input, *outcome.error});
}

void runPerFile(const FileOperation& operation, const QStringList& inputs,
                const OutputContext& context, const Progress& progress, const Fraction& fraction,
                JobResult& result) {
    std::atomic<qsizetype> next = 0;
    std::mutex resultLock;
    qsizetype done = 0;                                  // under resultLock
    std::vector<double> parts(size_t(inputs.size()), 0); // under resultLock
    // Only converters that report inside a file make the job report fractions; for the others
    // the count of files done says as much.
    auto reportPart = [&](qsizetype i, double part, bool tell) {
        std::lock_guard guard(resultLock);
        parts[size_t(i)] = part;
        if (fraction && tell) {
            double sum = 0;
            for (double each : parts)
                sum += each;
            fraction(sum / double(inputs.size()));
        }
    };
    auto worker = [&] {
        for (qsizetype i = next++; i < inputs.size() && !context.cancelled(); i = next++) {
            const std::optional<QString> refused = refusal(inputs[i]);
            OutputContext own = context;
            own.fileProgress = [&reportPart, i](double part) { reportPart(i, part, true); };
            CallOutcome outcome =
                refused ? CallOutcome{{}, refused} : call(operation, {inputs[i]}, own);
            reportPart(i, 1, false);
            std::lock_guard guard(resultLock);
            if (outcome.error)
                result.failures.append({inputs[i], *outcome.error});
            else
                result.outputs.append(outcome.outputs);
            ++done;
            if (progress)
                progress(done, inputs.size());
        }
    };
    const qsizetype count = std::min<qsizetype>(width(), inputs.size());
    std::vector<std::jthread> workers;
    workers.reserve(count);
    for (qsizetype i = 0; i < count; ++i)
        workers.emplace_back(worker);
}

// One call takes every file; its outcomes arrive one by one, as per-file outcomes do.
void runBatched(const FileOperation& operation, const QStringList& all,
                const OutputContext& context, const Progress& progress, const Fraction& fraction,
                JobResult& result) {
    const QStringList inputs = accepted(all, result);
    const qsizetype refused = all.size() - inputs.size();
    std::vector<bool> told(size_t(inputs.size()), false);
    qsizetype done = refused;
    auto tell = [&](qsizetype index, const QStringList& outputs,
                    const std::optional<QString>& error) {
        if (index < 0 || index >= inputs.size() || told[size_t(index)])
            return;
        told[size_t(index)] = true;
        if (error)
            result.failures.append({inputs[index], *error});
        else
            result.outputs.append(outputs);
        if (progress)
            progress(++done, all.size());
    };
    OutputContext own = context;
    own.fileProgress = [&](double part) {
        if (fraction)
            fraction((double(refused) + part * double(inputs.size())) / double(all.size()));
    };
    if (inputs.isEmpty())
        return;
    const CallOutcome outcome =
        call({operation.id, operation.title, operation.detail, operation.symbol, operation.style,
              [&](const QStringList& files, const OutputContext& callContext) {
                  operation.batch(files, callContext, tell);
                  return QStringList();
              }},
             inputs, own);
    for (qsizetype i = 0; i < inputs.size(); ++i) {
        if (!told[size_t(i)])
            tell(i, {}, outcome.error.value_or(QStringLiteral("Unbekannter Fehler.")));
    }
}

} // namespace

int width(int cores) {
    return std::clamp(cores, 2, 8);
}

int width() {
    return width(QThread::idealThreadCount());
}

JobResult run(const FileOperation& operation, const QStringList& inputs,
              const OutputContext& context, const Progress& progress, const Fraction& fraction) {
    const auto start = std::chrono::steady_clock::now();
    JobResult result;
    if (operation.style == OperationStyle::perFile && operation.batch)
        runBatched(operation, inputs, context, progress, fraction, result);
    else if (operation.style == OperationStyle::perFile)
        runPerFile(operation, inputs, context, progress, fraction, result);
    else
        runCombined(operation, inputs, context, result);
    result.cancelled = context.cancelled();
    result.duration =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

} // namespace tramix::JobRunner
