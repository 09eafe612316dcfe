// pixman, over the host's pictures: scaling by its filters, drawing by its bilinear filter.
// Its separable filters are evaluated tap by tap in two dimensions, so jobs of very many taps are
// left out.
#include <pixman.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "benchmarks/peers/peers.h"

namespace bench {

namespace {

struct Unreferencer {
    void operator()(pixman_image_t* image) const { pixman_image_unref(image); }
};
using Image = std::unique_ptr<pixman_image_t, Unreferencer>;

Image Over(const Pixels& pixels) {
    Image image(pixman_image_create_bits(PIXMAN_a8b8g8r8, pixels.size.width, pixels.size.height,
                                         reinterpret_cast<std::uint32_t*>(pixels.data),
                                         static_cast<int>(pixels.RowBytes())));
    if (image == nullptr) throw std::runtime_error("pixman made no image");
    return image;
}

void Stretch(pixman_image_t* source, const Job& job) {
    pixman_transform_t transform;
    pixman_transform_init_scale(
        &transform,
        pixman_double_to_fixed(static_cast<double>(job.source.width) / job.target.width),
        pixman_double_to_fixed(static_cast<double>(job.source.height) / job.target.height));
    pixman_image_set_transform(source, &transform);
    pixman_image_set_repeat(source, PIXMAN_REPEAT_PAD);
}

using SetFilter = void (*)(pixman_image_t* source, const Job& job);

template <pixman_filter_t filter>
void Simple(pixman_image_t* source, const Job&) {
    pixman_image_set_filter(source, filter, nullptr, 0);
}

// When reducing, the kernel is stretched over the source; when enlarging, it is not.
template <pixman_kernel_t kernel>
void Separable(pixman_image_t* source, const Job& job) {
    constexpr int phaseBits = 5;
    const double scaleX = static_cast<double>(job.source.width) / job.target.width;
    const double scaleY = static_cast<double>(job.source.height) / job.target.height;
    const bool reduces = Reduces(job);
    const pixman_kernel_t reconstruct = reduces ? PIXMAN_KERNEL_IMPULSE : kernel;
    const pixman_kernel_t sample = reduces ? kernel : PIXMAN_KERNEL_IMPULSE;
    int count = 0;
    const std::unique_ptr<pixman_fixed_t, void (*)(void*)> values(
        pixman_filter_create_separable_convolution(
            &count, pixman_double_to_fixed(scaleX), pixman_double_to_fixed(scaleY), reconstruct,
            reconstruct, sample, sample, phaseBits, phaseBits),
        std::free);
    if (values == nullptr) throw std::runtime_error("pixman made no filter");
    pixman_image_set_filter(source, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, values.get(), count);
}

Offer ScaleOffer(std::string name, Kinship kinship, std::string reason, SetFilter setFilter) {
    const auto prepare = [setFilter](const Scene& scene) -> Work {
        return [&scene, setFilter] {
            const Job& job = scene.TheJob();
            auto result = scene.NewResult();
            const Image source = Over(scene.Source());
            const Image target = Over(result->Memory());
            if (!KeepsSize(job)) Stretch(source.get(), job);
            setFilter(source.get(), job);
            pixman_image_composite32(PIXMAN_OP_SRC, source.get(), nullptr, target.get(), 0, 0, 0, 0,
                                     0, 0, job.target.width, job.target.height);
            return result;
        };
    };
    return {"pixman " + std::move(name), kinship, std::move(reason), Level::Sse41, prepare};
}

struct Kernel {
    double radius;
    const char* name;
    SetFilter setFilter;
};

std::optional<Kernel> KernelOf(Mode mode) {
    switch (mode) {
        case Mode::Triangle:
            return Kernel{1, "linear kernel", Separable<PIXMAN_KERNEL_LINEAR>};
        case Mode::Box:
            return Kernel{0.5, "box kernel", Separable<PIXMAN_KERNEL_BOX>};
        case Mode::Lanczos3:
            return Kernel{3, "Lanczos3 kernel", Separable<PIXMAN_KERNEL_LANCZOS3>};
        case Mode::Mitchell:
            return Kernel{2, "cubic kernel", Separable<PIXMAN_KERNEL_CUBIC>};
        default:
            return std::nullopt;
    }
}

// What the job would take with a two-dimensional filter.
double TapCount(const Job& job, double radius) {
    const double stretch =
        Reduces(job) ? static_cast<double>(job.source.width) / job.target.width : 1.0;
    const double side = std::ceil(2 * radius * stretch);
    return side * side * job.target.width * job.target.height;
}

std::vector<Offer> SeparableOffers(const Job& job) {
    constexpr double mostTaps = 5e7;
    const auto kernel = KernelOf(job.mode);
    if (!kernel || TapCount(job, kernel->radius) > mostTaps) return {};
    return {ScaleOffer(kernel->name, Kinship::SameJob, "same kernel and area weighting",
                       kernel->setFilter)};
}

std::vector<Offer> ResamplingOffers(const Job& job) {
    if (KeepsSize(job) && job.mode != Mode::Mitchell) {
        return {ScaleOffer("composite", Kinship::SameJob, "a copy", Simple<PIXMAN_FILTER_NEAREST>)};
    }
    if (Enlarges(job) && job.mode == Mode::Triangle) {
        return {ScaleOffer("bilinear", Kinship::SameJob, "same kernel",
                           Simple<PIXMAN_FILTER_BILINEAR>)};
    }
    if (Enlarges(job) && job.mode == Mode::Box) {
        return {ScaleOffer("nearest", Kinship::SameJob,
                           "a box that enlarges repeats the nearest pixel",
                           Simple<PIXMAN_FILTER_NEAREST>)};
    }
    return SeparableOffers(job);
}

// Composites `source` upon the canvas, bilinearly shifted by the fraction. Beside the source there
// is nothing, so that its outermost pixels blend.
void DrawShifted(const Image& source, const Image& mask, const Image& canvas, const Job& job) {
    const Size corner = DrawingCorner(job);
    pixman_transform_t shift;
    const pixman_fixed_t fraction = pixman_double_to_fixed(-drawingFraction);
    pixman_transform_init_translate(&shift, fraction, fraction);
    for (pixman_image_t* image : {source.get(), mask.get()}) {
        if (image == nullptr) continue;
        pixman_image_set_transform(image, &shift);
        pixman_image_set_filter(image, PIXMAN_FILTER_BILINEAR, nullptr, 0);
        pixman_image_set_repeat(image, PIXMAN_REPEAT_NONE);
    }
    pixman_image_composite32(PIXMAN_OP_OVER, source.get(), mask.get(), canvas.get(), 0, 0, 0, 0,
                             corner.width, corner.height, job.source.width + 1,
                             job.source.height + 1);
}

// A mask as pixman has it: one byte per pixel, 255 where opaque, rows of whole words.
struct OpacityMask {
    explicit OpacityMask(const Pixels& mask)
        : rowBytes((static_cast<std::size_t>(mask.size.width) + 3) / 4 * 4),
          words(rowBytes / 4 * static_cast<std::size_t>(mask.size.height)),
          size(mask.size) {
        auto* bytes = reinterpret_cast<std::uint8_t*>(words.data());
        for (int y = 0; y < size.height; ++y, bytes += rowBytes) {
            const std::uint8_t* pixel = mask.Row(y);
            for (int x = 0; x < size.width; ++x)
                bytes[x] = static_cast<std::uint8_t>(
                    255 - pixel[std::size_t{4} * static_cast<std::size_t>(x)]);
        }
    }

    Image AsImage() {
        return Image(pixman_image_create_bits(PIXMAN_a8, size.width, size.height, words.data(),
                                              static_cast<int>(rowBytes)));
    }

    std::size_t rowBytes;
    std::vector<std::uint32_t> words;
    Size size;
};

Offer PlainDrawing() {
    const auto prepare = [](const Scene& scene) -> Work {
        return [&scene, canvas = scene.NewCanvas()] {
            DrawShifted(Over(scene.Source()), nullptr, Over(canvas->Memory()), scene.TheJob());
            return canvas->AsResult();
        };
    };
    return {"pixman OVER", Kinship::SameJob, "bilinear at the same fraction", Level::Sse41,
            prepare};
}

// The mask weighs each pixel before pixels are mixed: once into a picture, then as without a mask.
Offer MaskedDrawing() {
    const auto prepare = [](const Scene& scene) -> Work {
        return [&scene, canvas = scene.NewCanvas(),
                mask = std::make_shared<OpacityMask>(scene.Mask())] {
            const Size size = scene.TheJob().source;
            const Image weighed(
                pixman_image_create_bits(PIXMAN_a8b8g8r8, size.width, size.height, nullptr, 0));
            pixman_image_composite32(PIXMAN_OP_SRC, Over(scene.Source()).get(),
                                     mask->AsImage().get(), weighed.get(), 0, 0, 0, 0, 0, 0,
                                     size.width, size.height);
            DrawShifted(weighed, nullptr, Over(canvas->Memory()), scene.TheJob());
            return canvas->AsResult();
        };
    };
    return {"pixman SRC with mask, OVER", Kinship::SameJob,
            "pixels weighed by the mask, then bilinear at the same fraction", Level::Sse41,
            prepare};
}

Offer MaskInOneCall() {
    const auto prepare = [](const Scene& scene) -> Work {
        return [&scene, canvas = scene.NewCanvas(),
                mask = std::make_shared<OpacityMask>(scene.Mask())] {
            DrawShifted(Over(scene.Source()), mask->AsImage(), Over(canvas->Memory()),
                        scene.TheJob());
            return canvas->AsResult();
        };
    };
    return {"pixman OVER with mask", Kinship::SameWork,
            "picture and mask interpolated each by itself", Level::Sse41, prepare};
}

}  // namespace

std::vector<Offer> PixmanOffers(const Job& job) {
    switch (job.task) {
        case Task::Resampling:
            return ResamplingOffers(job);
        case Task::FastScaling:
            return {ScaleOffer("nearest", Kinship::Neighbour, "averages nothing",
                               Simple<PIXMAN_FILTER_NEAREST>)};
        case Task::SmoothEnlargement:
            return {ScaleOffer("bilinear", Kinship::SameWork,
                               "two taps per axis, weights linear instead of smooth",
                               Simple<PIXMAN_FILTER_BILINEAR>)};
        case Task::Drawing:
            if (job.masked) return {MaskedDrawing(), MaskInOneCall()};
            return {PlainDrawing()};
        case Task::Blur:
            break;
    }
    return {};
}

std::string PixmanVersion() {
    return std::string("pixman ") + pixman_version_string();
}

}  // namespace bench
