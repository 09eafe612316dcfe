// The methods put together from the reference's parts: which of them a call comes to, and what
// becomes of masks.
#include "tests/golden/expectation.h"

#include <cstdint>
#include <optional>
#include <variant>

#include "tests/reference/blur.h"
#include "tests/reference/fast_scaling.h"
#include "tests/reference/fractional_drawing.h"
#include "tests/reference/resampler.h"
#include "tests/reference/smooth_enlargement.h"

namespace golden {
namespace {

using reference::Image;

Pixels Opaque(Pixels pixels) {
    for (Pixel& pixel : pixels.pixels)
        pixel.alpha = 255;
    return pixels;
}

// What a perforated picture shows when it is drawn at its own size into the corner of a white one.
Pixels DrawnOnWhite(const Image& picture, Size size) {
    const Pixels source = PixelsOf(picture);
    Pixels drawn{size.width, size.height, {}};
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const bool covered =
                x < source.width && y < source.height && source.At(x, y).alpha == 255;
            drawn.pixels.push_back(covered ? source.At(x, y) : Pixel{255, 255, 255, 255});
        }
    }
    return drawn;
}

class Statement {
  public:
    Statement(const Case& item, const Inputs& inputs) : case_(item), inputs_(inputs) {}

    Results operator()(const Resampling& call) const {
        return {PixelsOf(reference::Resample(inputs_.picture, call.mode, call.to.width,
                                             call.to.height, case_.layouts.made)),
                std::nullopt};
    }

    Results operator()(const Scaling& call) const {
        if (case_.size == call.to) return {PixelsOf(inputs_.picture), std::nullopt};
        if (!call.withMask) return {PixelsOf(Scaled(inputs_.picture, call)), std::nullopt};
        Results results;
        results.picture = case_.layouts.alphaChannel ? DrawnOnWhite(inputs_.picture, call.to)
                                                     : PixelsOf(Scaled(inputs_.picture, call));
        // The scaled mask is drawn into the result's, which is opaque as all new pictures are.
        if (inputs_.mask) results.mask = Opaque(PixelsOf(Scaled(*inputs_.mask, call)));
        return results;
    }

    Results operator()(const Blurring& call) const {
        const std::int32_t radius = reference::BlurRadius(call.radius);
        if (radius < 1) return {PixelsOf(inputs_.picture), std::nullopt};
        return {PixelsOf(reference::Blur(inputs_.picture, radius, case_.layouts.made)),
                std::nullopt};
    }

    Results operator()(const Drawing& call) const {
        Image receiver = inputs_.receiver.value();
        Image picture = inputs_.picture;
        std::optional<Image> mask = inputs_.mask;
        std::optional<reference::View> maskView;
        if (mask) maskView = reference::ViewOf(*mask);
        reference::DrawFractionally(reference::ViewOf(receiver), reference::ViewOf(picture),
                                    maskView ? &*maskView : nullptr, call.x, call.y, call.alpha);
        return {PixelsOf(receiver), std::nullopt};
    }

  private:
    // The picture's size decides for its mask too.
    Image Scaled(const Image& image, const Scaling& call) const {
        const bool grows = call.to.width > case_.size.width && call.to.height > case_.size.height;
        const auto scale =
            call.antiAlias && grows ? reference::EnlargeSmoothly : reference::ScaleFast;
        return scale(image, call.to.width, call.to.height, case_.layouts.made);
    }

    const Case& case_;
    const Inputs& inputs_;
};

}  // namespace

Results Expected(const Case& item, const Inputs& inputs) {
    return std::visit(Statement(item, inputs), item.call);
}

}  // namespace golden
