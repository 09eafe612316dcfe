// OpenCV, on one thread. Its matrices lie over the host's pictures, so that nothing is converted
// and results are made as everywhere else.
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <utility>

#include "benchmarks/peers/peers.h"

namespace bench {

namespace {

cv::Mat Over(const Pixels& pixels) {
    return {pixels.size.height, pixels.size.width, CV_8UC4, pixels.data, pixels.RowBytes()};
}

// A step from a source to a target matrix that exists.
using Step = void (*)(const Job& job, const cv::Mat& source, cv::Mat& target);

Offer OfferOf(std::string name, Kinship kinship, std::string reason, Step step) {
    const auto prepare = [step](const Scene& scene) -> Work {
        cv::setNumThreads(1);
        return [&scene, step] {
            auto result = scene.NewResult();
            cv::Mat target = Over(result->Memory());
            step(scene.TheJob(), Over(scene.Source()), target);
            return result;
        };
    };
    return {"OpenCV " + std::move(name), kinship, std::move(reason), Level::Avx2, prepare};
}

template <int interpolation>
void Resize(const Job&, const cv::Mat& source, cv::Mat& target) {
    cv::resize(source, target, target.size(), 0, 0, interpolation);
}

void FilterAtSameSize(const Job&, const cv::Mat& source, cv::Mat& target) {
    // The kernel's values at -1, 0 and 1, which sum to 1.
    const cv::Mat kernel = (cv::Mat_<float>(1, 3) << 1.0F / 18, 16.0F / 18, 1.0F / 18);
    cv::sepFilter2D(source, target, -1, kernel, kernel, {-1, -1}, 0, cv::BORDER_REPLICATE);
}

void BoxBlur(const Job& job, const cv::Mat& source, cv::Mat& target) {
    const int side = 2 * job.radius + 1;
    cv::blur(source, target, {side, side}, {-1, -1}, cv::BORDER_REPLICATE);
}

// Every n-th row is a matrix without a copy, whose columns are then averaged.
void AverageEveryNthRow(const Job& job, const cv::Mat& source, cv::Mat& target) {
    const int every = job.source.height / job.target.height;
    const cv::Mat rows(job.target.height, job.source.width, CV_8UC4, source.data,
                       source.step * static_cast<std::size_t>(every));
    cv::resize(rows, target, target.size(), 0, 0, cv::INTER_AREA);
}

// Rows by their nearest neighbour, blocks of columns averaged, blocks by their nearest neighbour.
void AverageNearestRows(const Job& job, const cv::Mat& source, cv::Mat& target) {
    const int block = (job.source.width + job.target.width - 1) / job.target.width;
    cv::Mat rows;
    cv::resize(source, rows, {job.source.width, job.target.height}, 0, 0, cv::INTER_NEAREST);
    cv::Mat averages;
    cv::blur(rows, averages, {block, 1}, {0, 0}, cv::BORDER_REPLICATE);
    cv::resize(averages, target, target.size(), 0, 0, cv::INTER_NEAREST);
}

std::vector<Offer> ReducingOffers(Mode mode) {
    if (mode == Mode::Box) {
        return {OfferOf("INTER_AREA", Kinship::SameJob, "box over the area that becomes a pixel",
                        Resize<cv::INTER_AREA>)};
    }
    if (mode == Mode::Triangle) {
        return {OfferOf("INTER_LINEAR", Kinship::Neighbour, "no area weighting: skips pixels",
                        Resize<cv::INTER_LINEAR>)};
    }
    if (mode == Mode::Bicubic) {
        return {OfferOf("INTER_CUBIC", Kinship::Neighbour, "no area weighting: skips pixels",
                        Resize<cv::INTER_CUBIC>)};
    }
    return {};
}

std::vector<Offer> EnlargingOffers(Mode mode) {
    switch (mode) {
        case Mode::Triangle:
            return {
                OfferOf("INTER_LINEAR", Kinship::SameJob, "same kernel", Resize<cv::INTER_LINEAR>)};
        case Mode::Box:
            return {OfferOf("INTER_NEAREST", Kinship::SameJob,
                            "a box that enlarges repeats the nearest pixel",
                            Resize<cv::INTER_NEAREST>)};
        case Mode::Bicubic:
            return {OfferOf("INTER_CUBIC", Kinship::SameJob, "same kernel, a = -0.75",
                            Resize<cv::INTER_CUBIC>)};
        case Mode::Lanczos3:
            return {OfferOf("INTER_LANCZOS4", Kinship::Neighbour, "4 lobes instead of 3",
                            Resize<cv::INTER_LANCZOS4>)};
        default:
            return {};
    }
}

std::vector<Offer> ResamplingOffers(const Job& job) {
    if (Reduces(job)) return ReducingOffers(job.mode);
    if (Enlarges(job)) return EnlargingOffers(job.mode);
    if (job.mode == Mode::Mitchell) {
        return {OfferOf("sepFilter2D", Kinship::SameJob,
                        "the kernel at distances -1, 0 and 1, as a filter", FilterAtSameSize)};
    }
    return {OfferOf("resize", Kinship::SameJob, "a copy", Resize<cv::INTER_LINEAR>)};
}

std::vector<Offer> FastScalingOffers(const Job& job) {
    const bool wholeBlocks =
        job.source.width % job.target.width == 0 && job.source.height % job.target.height == 0;
    std::vector<Offer> offers;
    if (wholeBlocks) {
        offers.push_back(OfferOf("INTER_AREA of every n-th row", Kinship::SameJob,
                                 "the same blocks of the same rows", AverageEveryNthRow));
    } else {
        offers.push_back(OfferOf("nearest, blur, nearest", Kinship::SameJob,
                                 "the same blocks of the same rows, in three calls",
                                 AverageNearestRows));
    }
    offers.push_back(OfferOf("INTER_AREA", Kinship::SameWork,
                             "averages whole blocks, of all their rows", Resize<cv::INTER_AREA>));
    const bool coversBlocks = job.source.width < 3 * job.target.width;
    offers.push_back(OfferOf(
        "INTER_LINEAR", coversBlocks ? Kinship::SameWork : Kinship::Neighbour,
        coversBlocks ? "averages two by two pixels" : "averages two by two pixels of larger blocks",
        Resize<cv::INTER_LINEAR>));
    offers.push_back(OfferOf("INTER_NEAREST", Kinship::Neighbour, "averages nothing",
                             Resize<cv::INTER_NEAREST>));
    return offers;
}

// A bilinear shift by a fraction. Pixels that the picture covers in part stay as they are.
Offer DrawingOffer() {
    const auto prepare = [](const Scene& scene) -> Work {
        cv::setNumThreads(1);
        return [&scene, canvas = scene.NewCanvas()] {
            const Job& job = scene.TheJob();
            const Size corner = DrawingCorner(job);
            const cv::Rect covered(corner.width, corner.height, job.source.width + 1,
                                   job.source.height + 1);
            cv::Mat part = Over(canvas->Memory())(covered);
            const cv::Matx23d shift(1, 0, drawingFraction, 0, 1, drawingFraction);
            cv::warpAffine(Over(scene.Source()), part, shift, part.size(), cv::INTER_LINEAR,
                           cv::BORDER_TRANSPARENT);
            return canvas->AsResult();
        };
    };
    return {"OpenCV warpAffine", Kinship::SameJob,
            "bilinear at the same fraction; does not blend the outermost pixels", Level::Avx2,
            prepare};
}

}  // namespace

std::vector<Offer> OpenCvOffers(const Job& job) {
    switch (job.task) {
        case Task::Resampling:
            return ResamplingOffers(job);
        case Task::FastScaling:
            return FastScalingOffers(job);
        case Task::SmoothEnlargement:
            return {OfferOf("INTER_LINEAR", Kinship::SameWork,
                            "two taps per axis, weights linear instead of smooth",
                            Resize<cv::INTER_LINEAR>)};
        case Task::Blur:
            return {OfferOf("blur", Kinship::SameJob, "box of the same side, rounded to nearest",
                            BoxBlur)};
        case Task::Drawing:
            break;
    }
    if (job.masked) return {};
    return {DrawingOffer()};
}

std::string OpenCvVersion() {
    return "OpenCV " + cv::getVersionString();
}

}  // namespace bench
