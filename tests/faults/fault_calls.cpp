// Makes the pictures and calls the methods.
#include "tests/faults/fault_calls.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "tests/support/pixels.h"

namespace contract {

namespace {

constexpr std::array scenes = {Scene::Desktop, Scene::DesktopMask, Scene::DesktopAlphaChannel,
                               Scene::Console, Scene::ConsoleMask};
constexpr std::array sceneNames = {"Desktop", "DesktopMask", "DesktopAlphaChannel", "Console",
                                   "ConsoleMask"};

constexpr std::array calls = {MethodCall::ScalingReducing,
                              MethodCall::ScalingEnlarging,
                              MethodCall::ScalingWithYields,
                              MethodCall::ScalingToOnePixel,
                              MethodCall::ScalingToSameSize,
                              MethodCall::Fast,
                              MethodCall::Smooth,
                              MethodCall::ImageAndMaskFast,
                              MethodCall::ImageAndMaskSmooth,
                              MethodCall::Blur,
                              MethodCall::BlurWithYields,
                              MethodCall::Draw};
constexpr std::array callNames = {"ScalingReducing",
                                  "ScalingEnlarging",
                                  "ScalingWithYields",
                                  "ScalingToOnePixel",
                                  "ScalingToSameSize",
                                  "Fast",
                                  "Smooth",
                                  "ImageAndMaskFast",
                                  "ImageAndMaskSmooth",
                                  "Blur",
                                  "BlurWithYields",
                                  "Draw"};

bool HasMask(Scene scene) {
    return scene == Scene::DesktopMask || scene == Scene::ConsoleMask;
}

Held<Picture> Call(Session& session, MethodCall call, const Picture& source, Held<Picture>& self) {
    REALpicture picture = source.Handle();
    switch (call) {
        case MethodCall::ScalingReducing:
            return session.Scaling(picture, 3, 4, 3);
        case MethodCall::ScalingEnlarging:
            return session.Scaling(picture, 5, 13, 11);
        case MethodCall::ScalingWithYields:
            return session.Scaling(picture, 6, 5, 9, 1);
        case MethodCall::ScalingToOnePixel:
            return session.Scaling(picture, 2, 1, 1);
        case MethodCall::ScalingToSameSize:
            return session.Scaling(picture, 1, 7, 6);
        case MethodCall::Fast:
            return session.Scale(picture, 9, 8, false, 1);
        case MethodCall::Smooth:
            return session.Scale(picture, 9, 8, true, 1);
        case MethodCall::ImageAndMaskFast:
            return session.ScaleImageAndMask(picture, 9, 8, false, 1);
        case MethodCall::ImageAndMaskSmooth:
            return session.ScaleImageAndMask(picture, 9, 8, true, 1);
        case MethodCall::Blur:
            return session.Blur(picture, 2.0);
        case MethodCall::BlurWithYields:
            return session.Blur(picture, 2.0, 1);
        case MethodCall::Draw:
            break;
    }
    const bool drawn = session.DrawPicture(self.Handle(), picture, 1.5, 0.25, 0.75, 1);
    return drawn ? std::move(self) : Held<Picture>();
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const FaultCase& faultCase) {
    return stream << callNames.at(static_cast<std::size_t>(faultCase.call)) << "On"
                  << sceneNames.at(static_cast<std::size_t>(faultCase.scene));
}

std::vector<FaultCase> AllFaultCases() {
    std::vector<FaultCase> all;
    for (const Scene scene : scenes) {
        for (const MethodCall call : calls)
            all.push_back({scene, call});
    }
    return all;
}

HostSettings SettingsOf(Scene scene) {
    const bool onConsole = scene == Scene::Console || scene == Scene::ConsoleMask;
    HostSettings settings = onConsole ? Console() : Desktop();
    settings.guardPages = true;
    settings.rowPadding = onConsole ? 0 : 8;
    return settings;
}

Outcome RunCase(Session& session, const FaultCase& faultCase, const Step& arm, const Step& disarm) {
    Random random(29);
    PictureOptions options = Sized(7, 6);
    options.alphaChannel = faultCase.scene == Scene::DesktopAlphaChannel;
    const auto source = session.Create(options);
    auto self = session.Create(11, 9);
    const auto mask = session.Create(7, 6);
    FillRandomlyOpaque(*source, random);
    FillRandomlyOpaque(*self, random);
    FillRandomlyOpaque(*mask, random);
    if (HasMask(faultCase.scene)) session.host().SetMask(*source, &*mask);
    const reference::Image before = ImageOf(*source);

    const bool draws = faultCase.call == MethodCall::Draw;
    const CasePictures pictures{.receiver = draws ? &*self : &*source,
                                .drawn = draws ? &*source : nullptr,
                                .mask = HasMask(faultCase.scene) ? &*mask : nullptr};
    arm(session, pictures);
    auto result = Call(session, faultCase.call, *source, self);
    disarm(session, pictures);

    Outcome outcome{.picture = std::nullopt,
                    .mask = std::nullopt,
                    .sourceIsUnchanged = ImageOf(*source) == before};
    if (!result) return outcome;
    outcome.picture = ImageOf(*result);
    if (faultCase.call != MethodCall::Draw && !result->HasAlphaChannel()) {
        if (const auto resultMask = session.host().CopyMask(*result))
            outcome.mask = ImageOf(*resultMask);
    }
    return outcome;
}

Outcome WithoutFaults(const FaultCase& faultCase) {
    Session session(SettingsOf(faultCase.scene));
    const Step nothing = [](Session&, const CasePictures&) {};
    return RunCase(session, faultCase, nothing, nothing);
}

bool IsBlank(const reference::Image& image) {
    return std::ranges::all_of(
        image.words, [&image](std::uint32_t word) { return word == image.words.front(); });
}

}  // namespace contract
