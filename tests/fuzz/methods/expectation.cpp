// The documented results, one function per method. What the host draws by itself is drawn here by
// the same host, since it is not what is tested.
#include "tests/fuzz/methods/expectation.h"

#include <cstddef>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/reference/blur.h"
#include "tests/reference/fast_scaling.h"
#include "tests/reference/fractional_drawing.h"
#include "tests/reference/resampler.h"
#include "tests/reference/smooth_enlargement.h"
#include "tests/support/pixels.h"
#include "workbench/pictures/color.h"
#include "workbench/pictures/drawing.h"

namespace fuzz {
namespace {

using contract::ImageOf;
using reference::Image;
using Result = Expectation::Result;

constexpr std::int64_t longestOpaqueSide = 32767;
constexpr double alphaChannelVersion = 2011.04;

Expectation Nil(std::optional<std::uint64_t> yields = std::nullopt) {
    Expectation expected;
    expected.result = Result::Nil;
    expected.yieldPoints = yields;
    return expected;
}

Expectation TheReceiver() {
    Expectation expected;
    expected.result = Result::Receiver;
    expected.yieldPoints = 0;
    return expected;
}

// The layout of a picture that the host makes.
int NewLayout(const HostShape& host, bool alphaChannel) {
    if (host.runtime == workbench::Runtime::Console) return workbench::consoleLayout;
    return alphaChannel ? 2 - host.layout % 2 : host.layout;
}

// Whether the plugin gets a picture like the receiver in that size.
bool CanMakeLike(const Case& value, std::int64_t width, std::int64_t height) {
    if (!CanMake(value.host, width, height)) return false;
    if (value.receiver.alphaChannel) return value.host.version.value_or(0) >= alphaChannelVersion;
    return width <= longestOpaqueSide && height <= longestOpaqueSide;
}

Expectation NewPicture(Image pixels, bool alphaChannel, std::optional<std::uint64_t> yields) {
    Expectation expected;
    expected.result = Result::NewPicture;
    expected.pixels = std::move(pixels);
    expected.alphaChannel = alphaChannel;
    expected.yieldPoints = yields;
    return expected;
}

Expectation ExpectScaling(const Case& value, const Scene& scene) {
    const Arguments& arguments = value.arguments;
    const std::int64_t width = arguments.width;
    const std::int64_t height = arguments.height;
    if (arguments.mode < 1 || arguments.mode > 7 || width < 1 || height < 1) return Nil(0);
    if (!CanMakeLike(value, width, height)) return Nil();
    const Picture& source = *scene.receiver;
    const bool alphaChannel = source.HasAlphaChannel();
    return NewPicture(reference::Resample(ImageOf(source), static_cast<int>(arguments.mode), width,
                                          height, NewLayout(value.host, alphaChannel)),
                      alphaChannel, static_cast<std::uint64_t>(height) + 7);
}

bool EnlargesSmoothly(const Case& value, const Picture& source) {
    return value.arguments.antiAlias && value.arguments.width > source.Width() &&
           value.arguments.height > source.Height();
}

// An image at the size asked for.
Image Scaled(const Case& value, const Image& image, bool smoothly, int layout) {
    const auto scale = smoothly ? reference::EnlargeSmoothly : reference::ScaleFast;
    return scale(image, value.arguments.width, value.arguments.height, layout);
}

std::uint64_t ScalePoints(std::int64_t height, bool smoothly) {
    const auto rows = static_cast<std::uint64_t>(height);
    return smoothly ? 4 * rows + 3 : rows + 1;
}

Expectation ExpectScale(const Case& value, const Scene& scene) {
    const Arguments& arguments = value.arguments;
    const Picture& source = *scene.receiver;
    if (arguments.width == source.Width() && arguments.height == source.Height()) {
        return TheReceiver();
    }
    if (!CanMakeLike(value, arguments.width, arguments.height)) return Nil(1);
    const bool smoothly = EnlargesSmoothly(value, source);
    const bool alphaChannel = source.HasAlphaChannel();
    return NewPicture(Scaled(value, ImageOf(source), smoothly, NewLayout(value.host, alphaChannel)),
                      alphaChannel, ScalePoints(arguments.height, smoothly));
}

// What is seen of a scaled mask once the host has drawn it into the mask of a new picture.
Image DrawnAsMask(Session& session, const Image& mask) {
    const auto width = static_cast<int>(mask.width);
    const auto height = static_cast<int>(mask.height);
    const auto scaled = session.Create(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            scaled->SetWord(x, y, mask.At(x, y));
    }
    const auto target = session.Create(width, height);
    const workbench::Rectangle whole{0, 0, width, height};
    workbench::DrawPicture(*target, *scaled, whole, whole);
    return ImageOf(*target);
}

// The receiver as it is drawn, at its own size, into a plain picture of the size asked for.
Image DrawnPlainly(Session& session, const Picture& source, Size size) {
    const auto plain = session.Create(size.width, size.height);
    const workbench::Rectangle whole{0, 0, size.width, size.height};
    workbench::DrawPicture(*plain, source, whole, whole);
    return ImageOf(*plain);
}

Expectation ExpectScaleImageAndMask(Session& session, const Case& value, const Scene& scene) {
    const Arguments& arguments = value.arguments;
    const Picture& source = *scene.receiver;
    if (arguments.width == source.Width() && arguments.height == source.Height()) {
        return TheReceiver();
    }
    if (!CanMake(value.host, arguments.width, arguments.height) ||
        arguments.width > longestOpaqueSide || arguments.height > longestOpaqueSide) {
        return Nil();
    }
    const bool smoothly = EnlargesSmoothly(value, source);
    const int layout = NewLayout(value.host, false);
    const bool isDrawn = source.HasAlphaChannel();
    const Size size{static_cast<int>(arguments.width), static_cast<int>(arguments.height)};
    const Image image = isDrawn ? DrawnPlainly(session, source, size) : ImageOf(source);
    Expectation expected = NewPicture(Scaled(value, image, smoothly, layout), false,
                                      ScalePoints(arguments.height, smoothly));
    const Held<Picture> mask = session.host().CopyMask(source);
    if (!mask) return expected;
    // A copied mask has the host's layout; the receiver's own is scaled as it is.
    const Image maskImage = ImageOf(isDrawn ? *mask : *source.Mask());
    expected.mask = DrawnAsMask(session, Scaled(value, maskImage, smoothly, layout));
    expected.yieldPoints = 2 * *expected.yieldPoints;
    return expected;
}

Expectation ExpectBlur(const Case& value, const Scene& scene) {
    constexpr std::int32_t widest = 4194302;
    const Picture& source = *scene.receiver;
    const std::int32_t radius = reference::BlurRadius(value.arguments.radius);
    if (radius < 1) return TheReceiver();
    if (!CanMake(value.host, source.Width(), source.Height())) return Nil();
    const int layout = NewLayout(value.host, false);
    if (radius > widest) {
        Image blank(source.Width(), source.Height(), layout);
        blank.words.assign(blank.words.size(), workbench::EncodePixel(workbench::white, layout));
        return NewPicture(std::move(blank), false, std::nullopt);
    }
    return NewPicture(reference::Blur(ImageOf(source), radius, layout), false,
                      2 * static_cast<std::uint64_t>(source.Height()) + 2);
}

reference::View WindowOf(Image& image, Size corner, const Picture& window) {
    reference::View view{window.Width(), window.Height(), image.format, {}};
    for (int y = 0; y < window.Height(); ++y)
        view.rows.push_back(
            reinterpret_cast<std::byte*>(&image.At(corner.width, corner.height + y)));
    return view;
}

Expectation ExpectDrawing(const Case& value, const Scene& scene) {
    const bool isWindow = value.sharing == Sharing::Windows;
    Image onto = ImageOf(isWindow ? *scene.memory : *scene.receiver);
    Image from = ImageOf(scene.Drawn());
    const reference::View receiver =
        isWindow ? WindowOf(onto, value.windows[0], *scene.receiver) : reference::ViewOf(onto);
    const reference::View picture = isWindow ? WindowOf(onto, value.windows[1], *scene.picture)
                                    : value.sharing == Sharing::SamePicture
                                        ? receiver
                                        : reference::ViewOf(from);
    std::optional<Image> maskImage;
    std::optional<reference::View> mask;
    if (scene.Drawn().Mask() != nullptr) {
        maskImage = ImageOf(*scene.mask);
        mask = value.mask->isWindow ? WindowOf(onto, value.windows[2], *scene.mask)
                                    : reference::ViewOf(*maskImage);
    }
    const Arguments& arguments = value.arguments;
    reference::DrawFractionally(receiver, picture, mask ? &*mask : nullptr, arguments.x,
                                arguments.y, arguments.alpha);
    Expectation expected;
    expected.result = Result::Drawn;
    expected.pixels = std::move(onto);
    expected.yieldPoints = static_cast<std::uint64_t>(scene.receiver->Height()) + 2;
    return expected;
}

Expectation ExpectForNil(const Case& value) {
    if (value.method != Method::DrawPicture) return Nil();
    Expectation expected;
    expected.result = Result::Exception;
    return expected;
}

}  // namespace

bool IsPredictable(const Case& value) {
    using Action = YieldPlan::Action;
    if (!value.faults.empty()) return false;
    const Action action = value.yielding.action;
    return value.arguments.yield == 0 || action == Action::Nothing || action == Action::CallsMethod;
}

Expectation Expect(Session& session, const Case& value, const Scene& scene) {
    const bool isDrawing = value.method == Method::DrawPicture;
    if (value.arguments.nilReceiver || (isDrawing && value.arguments.nilPicture)) {
        return ExpectForNil(value);
    }
    switch (value.method) {
        case Method::Scaling:
            return ExpectScaling(value, scene);
        case Method::Scale:
            return ExpectScale(value, scene);
        case Method::ScaleImageAndMask:
            return ExpectScaleImageAndMask(session, value, scene);
        case Method::Blur:
            return ExpectBlur(value, scene);
        case Method::DrawPicture:
            return ExpectDrawing(value, scene);
    }
    return {};
}

}  // namespace fuzz
