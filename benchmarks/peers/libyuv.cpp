// libyuv, whose functions work in place on the host's pictures. The order of colours does not
// matter to them.
#include <libyuv/planar_functions.h>
#include <libyuv/scale_argb.h>
#include <libyuv/version.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "benchmarks/peers/peers.h"

namespace bench {

namespace {

int Stride(const Pixels& pixels) {
    return static_cast<int>(pixels.RowBytes());
}

void Require(int status) {
    if (status != 0) throw std::runtime_error("libyuv refused a job");
}

Offer ScaleOffer(std::string name, Kinship kinship, std::string reason, libyuv::FilterMode filter) {
    const auto prepare = [filter](const Scene& scene) -> Work {
        return [&scene, filter] {
            auto result = scene.NewResult();
            const Pixels from = scene.Source();
            const Pixels to = result->Memory();
            Require(libyuv::ARGBScale(from.data, Stride(from), from.size.width, from.size.height,
                                      to.data, Stride(to), to.size.width, to.size.height, filter));
            return result;
        };
    };
    return {"libyuv " + std::move(name), kinship, std::move(reason), Level::Avx2, prepare};
}

// Its table of sums is asked for whole, but only the rows in use of it are ever touched.
Offer BlurOffer() {
    const auto prepare = [](const Scene& scene) -> Work {
        return [&scene] {
            auto result = scene.NewResult();
            const Pixels from = scene.Source();
            const Pixels to = result->Memory();
            const int rowInts = from.size.width * 4;
            const std::size_t ints = static_cast<std::size_t>(rowInts) *
                                     (static_cast<std::size_t>(from.size.height) + 1);
            constexpr std::size_t alignment = 16;
            const std::unique_ptr<std::int32_t, void (*)(void*)> sums(
                static_cast<std::int32_t*>(std::aligned_alloc(alignment, ints * 4)), std::free);
            Require(libyuv::ARGBBlur(from.data, Stride(from), to.data, Stride(to), sums.get(),
                                     rowInts, from.size.width, from.size.height,
                                     scene.TheJob().radius));
            return result;
        };
    };
    return {"libyuv ARGBBlur", Kinship::SameJob, "box of the same side", Level::Avx2, prepare};
}

std::vector<Offer> ResamplingOffers(const Job& job) {
    if (KeepsSize(job)) {
        if (job.mode == Mode::Mitchell) return {};
        return {ScaleOffer("ARGBScale", Kinship::SameJob, "a copy", libyuv::kFilterNone)};
    }
    if (job.mode == Mode::Box) {
        return {Reduces(job) ? ScaleOffer("kFilterBox", Kinship::SameJob, "box", libyuv::kFilterBox)
                             : ScaleOffer("kFilterNone", Kinship::SameJob,
                                          "a box that enlarges repeats the nearest pixel",
                                          libyuv::kFilterNone)};
    }
    if (job.mode != Mode::Triangle) return {};
    return {Reduces(job) ? ScaleOffer("kFilterBilinear", Kinship::Neighbour,
                                      "no area weighting: skips pixels", libyuv::kFilterBilinear)
                         : ScaleOffer("kFilterBilinear", Kinship::SameJob, "same kernel",
                                      libyuv::kFilterBilinear)};
}

std::vector<Offer> FastScalingOffers(const Job& job) {
    const bool coversBlocks = job.source.width < 3 * job.target.width;
    const bool boxCovers = coversBlocks || job.source.width == 4 * job.target.width;
    return {ScaleOffer("kFilterLinear", coversBlocks ? Kinship::SameWork : Kinship::Neighbour,
                       coversBlocks ? "averages two pixels of one row"
                                    : "averages two pixels of larger blocks",
                       libyuv::kFilterLinear),
            ScaleOffer("kFilterBox", boxCovers ? Kinship::SameWork : Kinship::Neighbour,
                       boxCovers ? "averages blocks of all their rows"
                                 : "averages two by two pixels of larger blocks",
                       libyuv::kFilterBox),
            ScaleOffer("kFilterNone", Kinship::Neighbour, "averages nothing", libyuv::kFilterNone)};
}

}  // namespace

std::vector<Offer> LibyuvOffers(const Job& job) {
    switch (job.task) {
        case Task::Resampling:
            return ResamplingOffers(job);
        case Task::FastScaling:
            return FastScalingOffers(job);
        case Task::SmoothEnlargement:
            return {ScaleOffer("kFilterBilinear", Kinship::SameWork,
                               "two taps per axis, weights linear instead of smooth",
                               libyuv::kFilterBilinear)};
        case Task::Blur:
            return {BlurOffer()};
        case Task::Drawing:
            break;
    }
    return {};
}

std::string LibyuvVersion() {
    return "libyuv " + std::to_string(LIBYUV_VERSION);
}

}  // namespace bench
