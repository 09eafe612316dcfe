// One call of one method with everything around it: the host, the pictures, what happens in yields
// and what fails. Read from the bytes of an input; it knows neither host nor plugin at work.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/fuzz/support/input.h"
#include "tests/support/layouts.h"
#include "workbench/host/services.h"
#include "workbench/host/settings.h"

namespace fuzz {

using contract::Size;

enum class Method { Scaling, Scale, ScaleImageAndMask, Blur, DrawPicture };

/// Where the pixels of a picture come from.
struct Content {
    enum class Kind { Flat, TwoValued, Ramp, Random, Bytes };
    Kind kind = Kind::Flat;
    std::uint64_t seed = 0;           // the values, or those to choose from
    std::vector<std::uint8_t> bytes;  // over and over; for Kind::Bytes
};

struct PictureShape {
    Size size{1, 1};
    int layout = 1;  // of a bitmap context
    bool alphaChannel = false;
    std::size_t rowPadding = 0;
    Content content;
};

struct HostShape {
    workbench::Runtime runtime = workbench::Runtime::Desktop;
    int layout = 1;
    std::size_t rowPadding = 0;
    std::optional<double> version = 2012.0;
};

/// A mask of the receiver, or of the picture drawn.
struct MaskShape {
    PictureShape shape;
    bool isWindow = false;  // of the memory that the pictures share
};

/// What the pictures of DrawPictureFZVK have to do with each other.
enum class Sharing { None, SamePicture, Windows };

/// The arguments of all five methods; each uses its own.
struct Arguments {
    std::int64_t mode = 1;
    std::int64_t width = 1;
    std::int64_t height = 1;
    bool antiAlias = false;
    double radius = 0;
    double x = 0;
    double y = 0;
    double alpha = 1;
    std::int64_t yield = 0;
    bool nilReceiver = false;
    bool nilPicture = false;
};

/// What the host does when it is given time.
struct YieldPlan {
    enum class Action { Nothing, CallsMethod, ChangesPixels, LetsGo, Throws };
    Action action = Action::Nothing;
    bool isAtEveryPoint = false;  // the clock moves by a second whenever it is read
    std::uint64_t number = 1;     // the yield that lets go or throws
    std::uint64_t seed = 0;       // of the pixels that it writes
};

struct Fault {
    enum class Kind {
        ServiceMissing,
        ServiceFailsOnce,
        ServiceFailsFrom,
        RefusesLocks,
        MemoryRefusedOnce,
        MemoryRefusedFrom,
        MemoryRefusedWhileLoading,
    };
    Kind kind = Kind::ServiceMissing;
    workbench::Service service{};
    std::uint64_t number = 1;
};

struct Case {
    Method method = Method::Scaling;
    std::string level = "baseline";
    HostShape host;
    PictureShape receiver;
    PictureShape picture;  // that DrawPictureFZVK draws
    std::optional<MaskShape> mask;
    Sharing sharing = Sharing::None;
    std::array<Size, 3> windows{};  // where receiver, picture and mask begin in the shared memory
    Arguments arguments;
    YieldPlan yielding;
    std::vector<Fault> faults;
};

/// The most bytes of pixels that the host gives a picture.
inline constexpr std::size_t maximumPictureBytes = std::size_t{8} << 20U;

/// Whether the host can make a picture of that size.
bool CanMake(const HostShape& host, std::int64_t width, std::int64_t height);

/// The case that the bytes stand for; any bytes stand for one, of bounded cost.
Case ReadCase(Input input);

/// The whole case in a few lines.
std::string Describe(const Case& value);

}  // namespace fuzz
