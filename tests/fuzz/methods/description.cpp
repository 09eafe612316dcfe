// The text of a case, for a person who looks into a finding.
#include <ostream>
#include <sstream>
#include <string>

#include "tests/fuzz/methods/case.h"

namespace fuzz {
namespace {

constexpr std::array methodNames = {"ScalingZVK", "ScaleZVK", "ScaleImageAndMaskZVK", "BlurZVK",
                                    "DrawPictureFZVK"};
constexpr std::array contentNames = {"flat", "two-valued", "ramp", "random", "bytes"};
constexpr std::array sharingNames = {"nothing shared", "one picture", "windows of one memory"};
constexpr std::array actionNames = {"does nothing", "calls a method", "changes pixels", "lets go",
                                    "throws"};
constexpr std::array faultNames = {"missing",
                                   "fails in call",
                                   "fails from call",
                                   "locks are refused",
                                   "memory refused in request",
                                   "memory refused from request",
                                   "memory refused while loading, request"};

template <typename Names, typename Value>
const char* NameOf(const Names& names, Value value) {
    return names.at(static_cast<std::size_t>(value));
}

std::ostream& operator<<(std::ostream& stream, const PictureShape& shape) {
    stream << shape.size << ", layout " << shape.layout;
    if (shape.alphaChannel) stream << ", alpha channel";
    return stream << ", padding " << shape.rowPadding << ", "
                  << NameOf(contentNames, shape.content.kind) << " pixels, seed "
                  << shape.content.seed;
}

std::ostream& operator<<(std::ostream& stream, const HostShape& host) {
    const bool console = host.runtime == workbench::Runtime::Console;
    stream << (console ? "console" : "desktop") << ", layout " << host.layout << ", padding "
           << host.rowPadding << ", version ";
    return host.version ? stream << *host.version : stream << "unknown";
}

std::ostream& operator<<(std::ostream& stream, const Fault& fault) {
    using Kind = Fault::Kind;
    const bool isOfService = fault.kind <= Kind::ServiceFailsFrom;
    if (isOfService) stream << Info(fault.service).wrapper << " ";
    stream << NameOf(faultNames, fault.kind);
    const bool isCounted = fault.kind != Kind::ServiceMissing && fault.kind != Kind::RefusesLocks;
    if (isCounted) stream << " " << fault.number;
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const Arguments& arguments) {
    return stream << "mode " << arguments.mode << ", to " << arguments.width << " x "
                  << arguments.height << ", antialias " << arguments.antiAlias << ", radius "
                  << arguments.radius << ", at (" << arguments.x << ", " << arguments.y
                  << "), alpha " << arguments.alpha << ", yield " << arguments.yield
                  << (arguments.nilReceiver ? ", receiver nil" : "")
                  << (arguments.nilPicture ? ", picture nil" : "");
}

}  // namespace

std::string Describe(const Case& value) {
    std::ostringstream text;
    text.precision(17);
    text << "  " << NameOf(methodNames, value.method) << ", level " << value.level << "\n  "
         << value.arguments << "\n  host: " << value.host << "\n  receiver: " << value.receiver
         << "\n";
    if (value.method == Method::DrawPicture) {
        text << "  picture: " << value.picture << "; " << NameOf(sharingNames, value.sharing);
        for (const Size& corner : value.windows)
            text << ", (" << corner.width << ", " << corner.height << ")";
        text << "\n";
    }
    if (value.mask) {
        text << "  mask: " << value.mask->shape << (value.mask->isWindow ? ", a window" : "")
             << "\n";
    }
    text << "  yields " << (value.yielding.isAtEveryPoint ? "at every point" : "once") << ", "
         << NameOf(actionNames, value.yielding.action) << ", number " << value.yielding.number
         << ", seed " << value.yielding.seed << "\n";
    for (const Fault& fault : value.faults)
        text << "  fault: " << fault << "\n";
    return text.str();
}

}  // namespace fuzz
