#include "DebugLog.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTime>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace tramix {

namespace {

struct Line {
    QString path;
    QByteArray bytes;
};

void append(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(bytes);
}

// The serial queue "tramix.log": one thread drains the lines in the order they came, so lines
// from many threads never interleave and the callers never wait for the disk.
class LogQueue {
public:
    ~LogQueue() {
        {
            std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        wake_.notify_all();
        if (worker_.joinable())
            worker_.join();
    }

    void submit(Line line) {
        std::lock_guard lock(mutex_);
        if (!startWorker())
            return;
        pending_.push_back(std::move(line));
        ++submitted_;
        wake_.notify_all();
    }

    bool flush(std::chrono::milliseconds timeout) {
        std::unique_lock lock(mutex_);
        const std::uint64_t target = submitted_;
        return done_.wait_for(lock, timeout, [&] { return finished_ >= target; });
    }

private:
    bool startWorker() {
        if (worker_.joinable())
            return true;
        try {
            worker_ = std::thread([this] { run(); });
        } catch (const std::system_error&) {
            return false;
        }
        return true;
    }

    void run() {
        std::unique_lock lock(mutex_);
        for (;;) {
            wake_.wait(lock, [this] { return stopping_ || !pending_.empty(); });
            if (pending_.empty())
                return;
            std::deque<Line> batch;
            batch.swap(pending_);
            lock.unlock();
            writeBatch(batch);
            lock.lock();
            finished_ += batch.size();
            done_.notify_all();
        }
    }

    // Consecutive lines for the same file go out in one write.
    static void writeBatch(const std::deque<Line>& batch) {
        QByteArray bytes;
        for (std::size_t i = 0; i < batch.size(); ++i) {
            bytes += batch[i].bytes;
            if (i + 1 == batch.size() || batch[i + 1].path != batch[i].path) {
                append(batch[i].path, bytes);
                bytes.clear();
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable done_;
    std::deque<Line> pending_;
    std::uint64_t submitted_ = 0;
    std::uint64_t finished_ = 0;
    bool stopping_ = false;
    std::thread worker_;
};

LogQueue& queue() {
    static LogQueue instance;
    return instance;
}

QString stateHome() {
    const QString configured = qEnvironmentVariable("XDG_STATE_HOME");
    if (QDir::isAbsolutePath(configured))
        return configured;
    return QDir::homePath() + QStringLiteral("/.local/state");
}

} // namespace

QString DebugLog::path() {
    return stateHome() + QStringLiteral("/Tramix/Tramix.log");
}

void DebugLog::write(const QString& message) {
    const QString stamp = QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz"));
    const QString line = stamp + QStringLiteral("  ") + message + QLatin1Char('\n');
    queue().submit({path(), line.toUtf8()});
}

bool DebugLog::flush(std::chrono::milliseconds timeout) {
    return queue().flush(timeout);
}

} // namespace tramix
