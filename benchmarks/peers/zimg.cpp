// zimg, which scales planes: three of them, split from and merged into pixels line by line as it
// asks for them. It can be told which instruction sets to use, so there are two offers of it.
#include <zimg.h>

#include <libyuv/planar_functions.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "benchmarks/peers/peers.h"

namespace bench {

namespace {

constexpr std::size_t alignment = 64;
constexpr int planeCount = 3;

using AlignedBytes = std::unique_ptr<std::uint8_t, void (*)(void*)>;

AlignedBytes Aligned(std::size_t count) {
    const std::size_t rounded = (count + alignment - 1) / alignment * alignment;
    return {static_cast<std::uint8_t*>(std::aligned_alloc(alignment, rounded)), std::free};
}

void Require(bool success) {
    if (success) return;
    constexpr std::size_t room = 256;
    std::array<char, room> message{};
    zimg_get_last_error(message.data(), message.size());
    throw std::runtime_error(std::string("zimg: ") + message.data());
}

struct Filter {
    zimg_resample_filter_e kind;
    double first = 0;
    double second = 0;
};

// A few lines of three planes, and the picture that they come from or go to.
class Lines {
  public:
    Lines(const Pixels& pixels, unsigned lineCount)
        : pixels_(pixels),
          mask_(zimg_select_buffer_mask(lineCount)),
          stride_((static_cast<std::size_t>(pixels.size.width) + alignment - 1) / alignment *
                  alignment),
          lines_(mask_ == ZIMG_BUFFER_MAX ? static_cast<std::size_t>(pixels.size.height)
                                          : std::size_t{mask_} + 1),
          bytes_(Aligned(planeCount * lines_ * stride_)) {}

    template <typename Buffer>
    Buffer Describe() const {
        Buffer buffer{};
        buffer.version = ZIMG_API_VERSION;
        for (int plane = 0; plane < planeCount; ++plane) {
            buffer.plane[plane].data = Line(plane, 0);
            buffer.plane[plane].stride = static_cast<std::ptrdiff_t>(stride_);
            buffer.plane[plane].mask = mask_;
        }
        return buffer;
    }

    // Callbacks of the library, `user` being the lines. To libyuv the first byte of a pixel is
    // blue; the planes are named accordingly.
    static int Split(void* user, unsigned row, unsigned left, unsigned right) {
        const Lines& lines = *static_cast<const Lines*>(user);
        libyuv::SplitARGBPlane(lines.PixelsAt(row, left), 0, lines.Line(2, row) + left, 0,
                               lines.Line(1, row) + left, 0, lines.Line(0, row) + left, 0, nullptr,
                               0, static_cast<int>(right - left), 1);
        return 0;
    }
    static int Merge(void* user, unsigned row, unsigned left, unsigned right) {
        const Lines& lines = *static_cast<const Lines*>(user);
        libyuv::MergeARGBPlane(lines.Line(2, row) + left, 0, lines.Line(1, row) + left, 0,
                               lines.Line(0, row) + left, 0, nullptr, 0, lines.PixelsAt(row, left),
                               0, static_cast<int>(right - left), 1);
        return 0;
    }

  private:
    std::uint8_t* Line(int plane, unsigned row) const {
        const std::size_t line = static_cast<std::size_t>(plane) * lines_ + (row & mask_);
        return bytes_.get() + line * stride_;
    }
    std::uint8_t* PixelsAt(unsigned row, unsigned left) const {
        return pixels_.Row(static_cast<int>(row)) + std::size_t{4} * left;
    }

    Pixels pixels_;
    unsigned mask_;
    std::size_t stride_;
    std::size_t lines_;
    AlignedBytes bytes_;
};

using Graph = std::unique_ptr<zimg_filter_graph, void (*)(zimg_filter_graph*)>;

zimg_image_format FormatOf(Size size) {
    zimg_image_format format{};
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = static_cast<unsigned>(size.width);
    format.height = static_cast<unsigned>(size.height);
    format.pixel_type = ZIMG_PIXEL_BYTE;
    format.color_family = ZIMG_COLOR_RGB;
    format.matrix_coefficients = ZIMG_MATRIX_RGB;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

Graph BuildGraph(const Job& job, const Filter& filter, zimg_cpu_type_e processor) {
    zimg_image_format source = FormatOf(job.source);
    if (KeepsSize(job)) {
        // It would leave the filter out; a shift that no weight can show makes it filter.
        constexpr double shift = 1e-6;
        source.active_region.left = shift;
        source.active_region.top = shift;
        source.active_region.width = job.source.width;
        source.active_region.height = job.source.height;
    }
    const zimg_image_format target = FormatOf(job.target);
    zimg_graph_builder_params parameters{};
    zimg_graph_builder_params_default(&parameters, ZIMG_API_VERSION);
    parameters.resample_filter = filter.kind;
    parameters.filter_param_a = filter.first;
    parameters.filter_param_b = filter.second;
    parameters.cpu_type = processor;
    Graph graph(zimg_filter_graph_build(&source, &target, &parameters), zimg_filter_graph_free);
    Require(graph != nullptr);
    return graph;
}

void Scale(const Job& job, const Filter& filter, zimg_cpu_type_e processor, const Pixels& from,
           const Pixels& to) {
    const Graph graph = BuildGraph(job, filter, processor);
    std::size_t workingBytes = 0;
    unsigned linesIn = 0;
    unsigned linesOut = 0;
    Require(zimg_filter_graph_get_tmp_size(graph.get(), &workingBytes) == ZIMG_ERROR_SUCCESS);
    Require(zimg_filter_graph_get_input_buffering(graph.get(), &linesIn) == ZIMG_ERROR_SUCCESS);
    Require(zimg_filter_graph_get_output_buffering(graph.get(), &linesOut) == ZIMG_ERROR_SUCCESS);
    Lines source(from, linesIn);
    Lines target(to, linesOut);
    const auto working = Aligned(workingBytes);
    const auto input = source.Describe<zimg_image_buffer_const>();
    const auto output = target.Describe<zimg_image_buffer>();
    Require(zimg_filter_graph_process(graph.get(), &input, &output, working.get(), Lines::Split,
                                      &source, Lines::Merge, &target) == ZIMG_ERROR_SUCCESS);
}

Offer ScaleOffer(const std::string& name, Kinship kinship, const std::string& reason,
                 const Filter& filter, Level level) {
    const zimg_cpu_type_e processor =
        level == Level::Avx512 ? ZIMG_CPU_AUTO_64B : ZIMG_CPU_X86_AVX2;
    const auto prepare = [filter, processor](const Scene& scene) -> Work {
        return [&scene, filter, processor] {
            auto result = scene.NewResult();
            Scale(scene.TheJob(), filter, processor, scene.Source(), result->Memory());
            return result;
        };
    };
    return {"zimg " + name + (level == Level::Avx512 ? " (avx512)" : " (avx2)"), kinship,
            reason + ", on three planes", level, prepare};
}

struct Method {
    std::string name;
    Kinship kinship;
    std::string reason;
    Filter filter;
};

std::optional<Method> ResamplingMethod(const Job& job) {
    constexpr double third = 1.0 / 3.0;
    constexpr double keys = 0.75;
    const std::string same = "same kernel and area weighting";
    if (KeepsSize(job) && job.mode != Mode::Mitchell) return std::nullopt;
    switch (job.mode) {
        case Mode::Triangle:
            return Method{"bilinear", Kinship::SameJob, same, {ZIMG_RESIZE_BILINEAR}};
        case Mode::Box:
            if (Reduces(job)) return std::nullopt;
            return Method{"point",
                          Kinship::SameJob,
                          "a box that enlarges repeats the nearest pixel",
                          {ZIMG_RESIZE_POINT}};
        case Mode::Lanczos3:
            return Method{"Lanczos, 3 taps", Kinship::SameJob, same, {ZIMG_RESIZE_LANCZOS, 3}};
        case Mode::Lanczos8:
            return Method{"Lanczos, 8 taps", Kinship::SameJob, same, {ZIMG_RESIZE_LANCZOS, 8}};
        case Mode::Mitchell:
            return Method{
                "bicubic 1/3, 1/3", Kinship::SameJob, same, {ZIMG_RESIZE_BICUBIC, third, third}};
        case Mode::Bicubic:
            return Method{
                "bicubic 0, 0.75", Kinship::SameJob, same, {ZIMG_RESIZE_BICUBIC, 0, keys}};
        case Mode::Cubic6:
            break;
    }
    return Method{"spline36",
                  Kinship::SameWork,
                  "a cubic of as many points, other weights",
                  {ZIMG_RESIZE_SPLINE36}};
}

std::optional<Method> MethodFor(const Job& job) {
    if (job.task == Task::Resampling) return ResamplingMethod(job);
    if (job.task != Task::SmoothEnlargement) return std::nullopt;
    return Method{"bilinear",
                  Kinship::SameWork,
                  "two taps per axis, weights linear instead of smooth",
                  {ZIMG_RESIZE_BILINEAR}};
}

}  // namespace

std::vector<Offer> ZimgOffers(const Job& job) {
    const auto method = MethodFor(job);
    if (!method) return {};
    std::vector<Offer> offers;
    for (const Level level : {Level::Avx2, Level::Avx512}) {
        offers.push_back(
            ScaleOffer(method->name, method->kinship, method->reason, method->filter, level));
    }
    return offers;
}

std::string ZimgVersion() {
    unsigned major = 0;
    unsigned minor = 0;
    unsigned patch = 0;
    zimg_get_version_info(&major, &minor, &patch);
    return "zimg " + std::to_string(major) + "." + std::to_string(minor) + "." +
           std::to_string(patch);
}

}  // namespace bench
