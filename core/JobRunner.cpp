#include "JobRunner.h"

#include "ConversionError.h"

#include <QThread>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace tramix::JobRunner {

namespace {

struct CallOutcome {
    QStringList outputs;
    std::optional<QString> error;
};

CallOutcome call(const FileOperation& operation, const QStringList& inputs,
                 const OutputContext& context) {
    try {
        return {operation.perform(inputs, context), std::nullopt};
    } catch (const std::exception& error) {
        return {{}, describeError(error)};
    } catch (...) {
        return {{}, QStringLiteral("Unbekannter Fehler.")};
    }
}

void runCombined(const FileOperation& operation, const QStringList& inputs,
                 const OutputContext& context, JobResult& result) {
    CallOutcome outcome = call(operation, inputs, context);
    if (!outcome.error) {
        result.outputs = std::move(outcome.outputs);
        return;
    }
    for (const QString& input : inputs)
        result.failures.append({input, *outcome.error});
}

void runPerFile(const FileOperation& operation, const QStringList& inputs,
                const OutputContext& context, const Progress& progress, JobResult& result) {
    std::atomic<qsizetype> next = 0;
    std::mutex resultLock;
    qsizetype done = 0; // under resultLock
    auto worker = [&] {
        for (qsizetype i = next++; i < inputs.size(); i = next++) {
            CallOutcome outcome = call(operation, {inputs[i]}, context);
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

} // namespace

int width(int cores) {
    return std::clamp(cores, 2, 8);
}

int width() {
    return width(QThread::idealThreadCount());
}

JobResult run(const FileOperation& operation, const QStringList& inputs,
              const OutputContext& context, const Progress& progress) {
    const auto start = std::chrono::steady_clock::now();
    JobResult result;
    if (operation.style == OperationStyle::perFile)
        runPerFile(operation, inputs, context, progress, result);
    else
        runCombined(operation, inputs, context, result);
    result.duration =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

} // namespace tramix::JobRunner
