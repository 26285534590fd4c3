#include "SubjectModel.h"

#include "ConversionError.h"
#include "EngineLog.h"
#include "ImagePixels.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <chrono>
#include <condition_variable>
#include <opencv2/core.hpp>
#include <opencv2/dnn.hpp>
#include <thread>

namespace tramix {

namespace {

// The folder that scripts/setup fills, beside the rewritten models' licence.
constexpr auto modelFolder = "subject-model";
// Inference takes about this long at the default edge on two cores; it scales with the area.
constexpr double typicalSeconds = 2.2;
// How often the running network's progress is told.
constexpr auto progressInterval = std::chrono::milliseconds(100);

// The network's input normalisation: (value − 128) / 256 per channel.
constexpr double inputMean = 128;
constexpr double inputScale = 1.0 / 256;

QString fileName(int edge) {
    return QStringLiteral("isnet-%1.onnx").arg(edge);
}

[[noreturn]] void throwMissing(const QString& file) {
    throw ConversionError::failed(
        QStringLiteral("Das Modell zum Freistellen fehlt (%1). „scripts/setup“ richtet es ein.")
            .arg(QDir::toNativeSeparators(file)));
}

[[noreturn]] void throwDamaged(const QString& file) {
    throw ConversionError::failed(
        QStringLiteral("Das Modell zum Freistellen ist beschädigt (%1). Löschen Sie die Datei "
                       "und führen Sie „scripts/setup“ aus.")
            .arg(QDir::toNativeSeparators(file)));
}

// Tells `elapsed` how far the expected time has passed until it is destroyed.
class Ticker {
public:
    Ticker(const SubjectModel::Elapsed& elapsed, double expectedSeconds) {
        if (!elapsed)
            return;
        thread_ = std::thread([this, elapsed, expectedSeconds] {
            QElapsedTimer clock;
            clock.start();
            std::unique_lock lock(mutex_);
            while (!cv_.wait_for(lock, progressInterval, [this] { return done_; }))
                elapsed(std::min(1.0, clock.elapsed() / 1000.0 / expectedSeconds));
        });
    }
    ~Ticker() {
        if (!thread_.joinable())
            return;
        {
            std::lock_guard lock(mutex_);
            done_ = true;
        }
        cv_.notify_one();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable cv_;
    bool done_ = false;
    std::thread thread_;
};

} // namespace

struct SubjectModel::Network {
    cv::dnn::Net net;
};

SubjectModel::SubjectModel(const QString& file, int edge)
    : file_(file)
    , edge_(edge)
    , network_(std::make_unique<Network>())
    , expectedSeconds_(typicalSeconds * (double(edge) * edge) / (defaultEdge * defaultEdge)) {
    if (!QFileInfo(file).isFile())
        throwMissing(file);
    try {
        network_->net = cv::dnn::readNetFromONNX(QFile::encodeName(file).toStdString());
    } catch (const cv::Exception& error) {
        qCDebug(engineLog) << "The subject model did not load:" << error.what();
        throwDamaged(file);
    }
    if (network_->net.empty())
        throwDamaged(file);
}

SubjectModel::~SubjectModel() = default;

QStringList SubjectModel::candidateFiles(int edge) {
    const QString name = QStringLiteral("%1/%2").arg(modelFolder, fileName(edge));
    const QByteArray chosen = qgetenv("TRAMIX_DEPENDENCIES");
    if (!chosen.isEmpty())
        return {QFile::decodeName(chosen) + u'/' + name};
    // The user's cache first: that is where scripts/setup puts it, and what a message names.
    QStringList files{QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                      QStringLiteral("/tramix-dependencies/") + name};
#ifdef TRAMIX_BUILD_DEPENDENCIES
    files << QStringLiteral(TRAMIX_BUILD_DEPENDENCIES "/") + name;
#endif
#ifdef TRAMIX_INSTALLED_DATA
    files << QStringLiteral(TRAMIX_INSTALLED_DATA "/") + name;
#endif
    return files;
}

SubjectModel& SubjectModel::shared() {
    static std::mutex loading;
    static std::unique_ptr<SubjectModel> model;
    std::lock_guard lock(loading);
    if (!model) {
        const QStringList files = candidateFiles(defaultEdge);
        QString file = files.first();
        for (const QString& candidate : files) {
            if (QFileInfo(candidate).isFile()) {
                file = candidate;
                break;
            }
        }
        model = std::make_unique<SubjectModel>(file, defaultEdge);
    }
    return *model;
}

vips::VImage SubjectModel::likelihood(const vips::VImage& image, const Elapsed& elapsed) {
    const vips::VImage square =
        image
            .resize(double(edge_) / image.width(),
                    vips::VImage::option()->set("vscale", double(edge_) / image.height()))
            .cast(VIPS_FORMAT_UCHAR);
    size_t bytes = 0;
    std::unique_ptr<void, decltype(&g_free)> pixels(square.write_to_memory(&bytes), g_free);
    const cv::Mat rgb(edge_, edge_, CV_8UC3, pixels.get());
    const cv::Mat blob = cv::dnn::blobFromImage(rgb, inputScale, cv::Size(),
                                                cv::Scalar::all(inputMean), false, false, CV_32F);

    cv::Mat output;
    {
        std::lock_guard lock(running_);
        const auto started = std::chrono::steady_clock::now();
        {
            Ticker ticker(elapsed, expectedSeconds_);
            try {
                network_->net.setInput(blob, "input");
                output = network_->net.forward("output");
            } catch (const cv::Exception& error) {
                qCDebug(engineLog) << "The subject model did not run:" << error.what();
                throwDamaged(file_);
            }
        }
        expectedSeconds_ =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    }
    if (output.total() != size_t(edge_) * edge_ || output.depth() != CV_32F)
        throwDamaged(file_);
    return ImagePixels::copied(output.ptr<float>(), edge_, edge_, 1, VIPS_FORMAT_FLOAT);
}

} // namespace tramix
