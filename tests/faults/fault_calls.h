// The calls that faults are tried on: each method on each kind of picture, and what it may give
// when something it needs is refused.
#pragma once

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/reference/image.h"
#include "tests/support/session.h"

namespace contract {

/// The host and the pictures of a call.
enum class Scene { Desktop, DesktopMask, DesktopAlphaChannel, Console, ConsoleMask };

enum class MethodCall {
    ScalingReducing,
    ScalingEnlarging,
    ScalingWithYields,
    ScalingToOnePixel,
    ScalingToSameSize,
    Fast,
    Smooth,
    ImageAndMaskFast,
    ImageAndMaskSmooth,
    Blur,
    BlurWithYields,
    Draw,
};

struct FaultCase {
    Scene scene;
    MethodCall call;
};

std::ostream& operator<<(std::ostream& stream, const FaultCase& faultCase);

/// Every call on every scene.
std::vector<FaultCase> AllFaultCases();

/// Settings of the scene's host, whose pictures stand against guard pages.
HostSettings SettingsOf(Scene scene);

/// What a call gave. A drawing gives the picture drawn onto where it succeeds.
struct Outcome {
    std::optional<reference::Image> picture;
    std::optional<reference::Image> mask;  // the picture's, of a result
    bool sourceIsUnchanged;
};

/// The pictures of a call.
struct CasePictures {
    Picture* receiver;
    Picture* drawn;  // only of a drawing
    Picture* mask;   // of the receiver or of the picture drawn; only where the scene has one
};

using Step = std::function<void(Session&, const CasePictures&)>;

/// Makes the pictures of a case, always the same ones, arms the fault with `arm`, calls the method,
/// disarms it, and lets everything go but what the plugin itself failed to give back.
Outcome RunCase(Session& session, const FaultCase& faultCase, const Step& arm, const Step& disarm);

/// The outcome of a case without a fault, in a host of its own.
Outcome WithoutFaults(const FaultCase& faultCase);

/// Whether all pixels are the same, as in a new picture of the host's.
bool IsBlank(const reference::Image& image);

}  // namespace contract
