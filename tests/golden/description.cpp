// Cases in words. The list holds these lines: what is written here cannot change without it.
#include <array>
#include <charconv>
#include <cstdint>
#include <sstream>
#include <string>
#include <variant>

#include "tests/golden/golden_case.h"

namespace golden {
namespace {

constexpr int console = 8;

// The shortest digits that give the number, the same on every machine.
std::string Digits(double number) {
    std::array<char, 32> digits{};
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return {digits.data(), written.ptr};
}

std::string InWords(Size size) {
    return std::to_string(size.width) + " x " + std::to_string(size.height);
}

// A method's name with its arguments, up to the last of them.
struct CallText {
    std::string operator()(const Resampling& call) const {
        return "ScalingZVK(" + std::to_string(call.mode) + ", " + Sides(call.to);
    }
    std::string operator()(const Scaling& call) const {
        return (call.withMask ? "ScaleImageAndMaskZVK(" : "ScaleZVK(") + Sides(call.to) +
               (call.antiAlias ? ", True" : ", False");
    }
    std::string operator()(const Blurring& call) const { return "BlurZVK(" + Digits(call.radius); }
    std::string operator()(const Drawing& call) const {
        return "DrawPictureFZVK(pic, " + Digits(call.x) + ", " + Digits(call.y) + ", " +
               Digits(call.alpha);
    }

    static std::string Sides(Size size) {
        return std::to_string(size.width) + ", " + std::to_string(size.height);
    }
};

}  // namespace

bool UsesSin(const Case& item) {
    const auto* const resampling = std::get_if<Resampling>(&item.call);
    return resampling != nullptr && (resampling->mode == 3 || resampling->mode == 4);
}

std::string Describe(const Case& item) {
    std::ostringstream text;
    text << std::visit(CallText{}, item.call);
    if (item.yield != 0) text << ", " << item.yield;
    text << "), " << (item.layouts.made == console ? "console" : "desktop") << ", layout "
         << item.layouts.source << " to " << item.layouts.made
         << (item.layouts.alphaChannel ? ", alpha channel" : "") << ", " << NameOf(item.content)
         << " " << InWords(item.size);
    if (item.mask) text << ", mask " << InWords(*item.mask);
    if (const auto* const drawing = std::get_if<Drawing>(&item.call))
        text << ", onto " << InWords(drawing->receiver);
    text << ", seed " << item.seed;
    if (UsesSin(item)) text << ", sin";
    return text.str();
}

}  // namespace golden
