// Reads a case. What most inputs should be comes first in each choice, so that an input of zeros is
// the plainest call there is; sizes are bounded by what the slow references can follow.
#include "tests/fuzz/methods/case.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/support/machine_levels.h"
#include "tests/support/plugin_under_test.h"

namespace fuzz {
namespace {

using workbench::Runtime;
using workbench::Service;

constexpr std::int64_t mostSourcePixels = 6000;
constexpr std::int64_t mostResultPixels = 20000;
constexpr int longestOpaqueSide = 32767;

std::int64_t Area(Size size) {
    return std::int64_t{size.width} * size.height;
}

int ReadSide(Input& input) {
    const int kind = input.Byte();
    if (kind < 150) return input.Between(1, 24);
    if (kind < 200) return 1;
    if (kind < 235) return input.Between(1, 80);
    return input.Between(1, 200);
}

Size ReadSize(Input& input) {
    Size size{ReadSide(input), ReadSide(input)};
    const int lowest = static_cast<int>(mostSourcePixels / size.width);
    size.height = std::min(size.height, std::max(1, lowest));
    return size;
}

Content ReadContent(Input& input) {
    constexpr std::array kinds = {Content::Kind::Random, Content::Kind::Flat,
                                  Content::Kind::TwoValued, Content::Kind::Ramp,
                                  Content::Kind::Bytes};
    // Sums are greatest and smallest with these.
    constexpr std::array<std::uint64_t, 4> extremes = {0x00000000FFFFFFFFU, 0xFFFFFFFF00000000U,
                                                       0xFFFFFFFFFFFFFFFFU, 0x0101010100FFFF00U};
    Content content;
    content.kind = input.OneOf(kinds);
    const bool isExtreme = input.Below(3) == 2;
    content.seed = isExtreme ? input.OneOf(extremes) : input.Word();
    return content;
}

std::size_t ReadPadding(Input& input) {
    constexpr std::array<std::size_t, 6> paddings = {0, 12, 4, 28, 60, 0};
    return input.OneOf(paddings);
}

PictureShape ReadPicture(Input& input) {
    PictureShape shape;
    shape.size = ReadSize(input);
    shape.layout = input.Between(1, 6);
    shape.alphaChannel = input.Below(5) == 4;
    if (shape.alphaChannel) shape.layout = 2 - shape.layout % 2;
    shape.rowPadding = ReadPadding(input);
    shape.content = ReadContent(input);
    return shape;
}

HostShape ReadHost(Input& input) {
    constexpr std::array<std::optional<double>, 8> versions = {
        2012.0, 2012.0, 2013.04, 2013.0, 2011.04, 2011.03, 3000.0, std::nullopt};
    HostShape host;
    host.runtime = input.Below(3) == 2 ? Runtime::Console : Runtime::Desktop;
    host.layout = input.Between(1, 6);
    host.rowPadding = ReadPadding(input);
    host.version = input.OneOf(versions);
    return host;
}

std::string ReadLevel(Input& input) {
    const int wanted = input.Below(static_cast<int>(contract::instructionLevels.size()));
    for (int level = wanted; level > 0; --level) {
        const char* const name = contract::instructionLevels.at(static_cast<std::size_t>(level));
        if (contract::MachineOffers(name)) return name;
    }
    return contract::instructionLevels.front();
}

std::int64_t ReadLength(Input& input, int sourceSide) {
    constexpr std::int64_t one = 1;
    constexpr std::array<std::int64_t, 20> hostile = {0,
                                                      -1,
                                                      -7,
                                                      std::numeric_limits<std::int64_t>::min(),
                                                      std::numeric_limits<std::int64_t>::max(),
                                                      longestOpaqueSide,
                                                      longestOpaqueSide + one,
                                                      40000,
                                                      65535,
                                                      65536,
                                                      one << 30U,
                                                      (one << 31U) - 1,
                                                      one << 31U,
                                                      one << 32U,
                                                      (one << 32U) + 5,
                                                      (one << 62U) + 3,
                                                      257,
                                                      1025,
                                                      4097,
                                                      5001};
    const int kind = input.Byte();
    if (kind < 120) return input.Between(1, 40);
    if (kind < 150) return sourceSide;
    if (kind < 180) return sourceSide + input.Between(0, 4);
    if (kind < 200) return std::int64_t{sourceSide} * input.Between(1, 4);
    if (kind < 235) return input.Between(1, 200);
    return input.OneOf(hostile);
}

std::int64_t ReadYield(Input& input) {
    constexpr std::array<std::int64_t, 12> intervals = {
        0,
        0,
        0,
        1,
        -1,
        60,
        -1000,
        7,
        -17,
        std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min() + 1};
    return input.OneOf(intervals);
}

double ReadPosition(Input& input, int side) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr std::array<double, 14> hostile = {std::numeric_limits<double>::quiet_NaN(),
                                                infinity,
                                                -infinity,
                                                1e300,
                                                -1e300,
                                                2147483647.0,
                                                2147483647.5,
                                                2147483648.0,
                                                -2147483648.0,
                                                -2147483648.5,
                                                -2147483649.0,
                                                4294967296.0,
                                                -0.0,
                                                1e-320};
    const int kind = input.Byte();
    const int whole = input.Between(-side, side);
    if (kind < 60) return whole;
    if (kind < 120) return whole + input.Byte() / 256.0;
    if (kind < 170) return whole + input.Byte() / 20.0;
    if (kind < 220) return whole + std::ldexp(static_cast<double>(input.Word() >> 11U), -53);
    if (kind < 240) return input.OneOf(hostile);
    return input.Real();
}

double ReadOpacity(Input& input) {
    constexpr std::array<double, 14> opacities = {1.0,  1.0, 1.0, 0.5, 0.3, 0.0,        1.0 / 3.0,
                                                  -1.0, 2.0, 1.1, 1e7, 4e9, 16843009.0, -0.0};
    const int kind = input.Byte();
    if (kind < 160) return input.OneOf(opacities);
    if (kind < 230) return std::ldexp(static_cast<double>(input.Word() >> 11U), -53);
    return input.Real();
}

double ReadRadius(Input& input) {
    constexpr std::array<double, 16> radii = {0.0,
                                              0.99,
                                              1.7,
                                              -3.0,
                                              127.0,
                                              128.0,
                                              129.0,
                                              4194302.0,
                                              4194303.0,
                                              4194302.99,
                                              2147483647.0,
                                              2147483648.0,
                                              -2147483649.0,
                                              std::numeric_limits<double>::quiet_NaN(),
                                              std::numeric_limits<double>::infinity(),
                                              300.0};
    const int kind = input.Byte();
    if (kind < 140) return input.Between(1, 12);
    if (kind < 190) return input.Between(1, 255);
    if (kind < 235) return input.OneOf(radii);
    return input.Real();
}

Arguments ReadArguments(Input& input, const Case& around) {
    constexpr std::array<std::int64_t, 12> modes = {
        1, 2, 3, 4, 5, 6, 7, 1, 0, 8, -1, std::numeric_limits<std::int64_t>::max()};
    const int nilKind = input.Byte();
    Arguments arguments;
    arguments.nilReceiver = nilKind == 255;
    arguments.nilPicture = nilKind == 254;
    arguments.yield = ReadYield(input);
    switch (around.method) {
        case Method::Scaling:
            arguments.mode = input.OneOf(modes);
            break;
        case Method::Scale:
        case Method::ScaleImageAndMask:
            arguments.antiAlias = input.Flag();
            break;
        case Method::Blur:
            arguments.radius = ReadRadius(input);
            return arguments;
        case Method::DrawPicture:
            arguments.x = ReadPosition(input, std::max(2, around.receiver.size.width));
            arguments.y = ReadPosition(input, std::max(2, around.receiver.size.height));
            arguments.alpha = ReadOpacity(input);
            return arguments;
    }
    arguments.width = ReadLength(input, around.receiver.size.width);
    arguments.height = ReadLength(input, around.receiver.size.height);
    // What can be made at all is kept small; what cannot is kept as it is.
    const bool isMade = CanMake(around.host, arguments.width, arguments.height);
    if (isMade && arguments.width * arguments.height > mostResultPixels) {
        arguments.height = std::max<std::int64_t>(1, mostResultPixels / arguments.width);
    }
    return arguments;
}

std::optional<MaskShape> ReadMask(Input& input, const Case& around) {
    const int kind = input.Below(4);
    if (kind == 0) return std::nullopt;
    MaskShape mask;
    mask.shape = ReadPicture(input);
    mask.shape.alphaChannel = false;
    const bool isOfPicture = around.method == Method::DrawPicture;
    if (kind == 1) mask.shape.size = (isOfPicture ? around.picture : around.receiver).size;
    mask.isWindow = kind == 3 && around.sharing == Sharing::Windows;
    return mask;
}

YieldPlan ReadYielding(Input& input) {
    using Action = YieldPlan::Action;
    constexpr std::array actions = {Action::Nothing,       Action::Nothing, Action::CallsMethod,
                                    Action::ChangesPixels, Action::LetsGo,  Action::Throws};
    YieldPlan plan;
    plan.isAtEveryPoint = !input.Flag();
    plan.action = input.OneOf(actions);
    plan.number = static_cast<std::uint64_t>(input.Between(1, 48));
    plan.seed = input.Byte();
    return plan;
}

Fault ReadFault(Input& input) {
    using Kind = Fault::Kind;
    constexpr std::array kinds = {
        Kind::ServiceMissing,    Kind::ServiceFailsOnce,  Kind::ServiceFailsFrom,
        Kind::RefusesLocks,      Kind::MemoryRefusedOnce, Kind::MemoryRefusedFrom,
        Kind::MemoryRefusedOnce, Kind::MemoryRefusedFrom, Kind::MemoryRefusedWhileLoading};
    Fault fault;
    fault.kind = input.OneOf(kinds);
    fault.service = static_cast<Service>(input.Below(static_cast<int>(workbench::serviceCount)));
    fault.number = static_cast<std::uint64_t>(input.Between(1, 100));
    const bool isOfAnswers =
        fault.kind == Kind::ServiceFailsOnce || fault.kind == Kind::ServiceFailsFrom;
    if (isOfAnswers && !Info(fault.service).answers) fault.kind = Kind::ServiceMissing;
    return fault;
}

std::vector<Fault> ReadFaults(Input& input) {
    const int kind = input.Byte();
    std::vector<Fault> faults(kind < 150 ? 0 : kind < 230 ? 1 : 2);
    for (Fault& fault : faults)
        fault = ReadFault(input);
    return faults;
}

void ShareMemory(Input& input, Case& value) {
    constexpr std::array sharings = {Sharing::None, Sharing::None, Sharing::SamePicture,
                                     Sharing::Windows};
    value.sharing = input.OneOf(sharings);
    for (Size& corner : value.windows)
        corner = {input.Below(8), input.Below(8)};
    if (value.sharing == Sharing::SamePicture) value.picture = value.receiver;
    if (value.sharing == Sharing::Windows) {
        value.picture.layout = value.receiver.layout;
        value.picture.alphaChannel = false;
        value.receiver.alphaChannel = false;
    }
}

// A box is summed pixel by pixel for every pixel, so wide boxes are for small pictures.
void BoundBlur(Case& value) {
    constexpr std::int64_t mostSteps = 400'000;
    Size& size = value.receiver.size;
    const std::int64_t box = value.arguments.radius >= 1 && value.arguments.radius < 200
                                 ? 2 * static_cast<std::int64_t>(value.arguments.radius) + 1
                                 : std::numeric_limits<std::int32_t>::max();
    const std::int64_t steps =
        std::min<std::int64_t>(box, size.width) + std::min<std::int64_t>(box, size.height);
    const std::int64_t mostPixels = mostSteps / steps;
    if (Area(size) <= mostPixels) return;
    size.height = static_cast<int>(std::max<std::int64_t>(1, mostPixels / size.width));
}

}  // namespace

bool CanMake(const HostShape& host, std::int64_t width, std::int64_t height) {
    constexpr std::int64_t most = std::numeric_limits<int>::max();
    if (width < 1 || height < 1 || width > most || height > most) return false;
    const bool console = host.runtime == Runtime::Console;
    const auto rowBytes = static_cast<std::size_t>(width) * sizeof(std::uint32_t);
    return rowBytes + (console ? 0 : host.rowPadding) <=
           maximumPictureBytes / static_cast<std::size_t>(height);
}

Case ReadCase(Input input) {
    constexpr std::array methods = {Method::Scaling, Method::Scale, Method::ScaleImageAndMask,
                                    Method::Blur, Method::DrawPicture};
    Case value;
    value.method = input.OneOf(methods);
    value.level = ReadLevel(input);
    value.host = ReadHost(input);
    value.receiver = ReadPicture(input);
    if (value.method == Method::DrawPicture) {
        value.picture = ReadPicture(input);
        ShareMemory(input, value);
    }
    if (value.method != Method::Scaling && value.method != Method::Blur) {
        value.mask = ReadMask(input, value);
    }
    value.arguments = ReadArguments(input, value);
    if (value.method == Method::Blur) BoundBlur(value);
    value.yielding = ReadYielding(input);
    // It asks its receiver for the mask when it has nothing of it open any more, so whoever calls
    // has to keep the receiver.
    const bool letsGo = value.yielding.action == YieldPlan::Action::LetsGo;
    if (value.method == Method::ScaleImageAndMask && letsGo) {
        value.yielding.action = YieldPlan::Action::Nothing;
    }
    value.faults = ReadFaults(input);
    const auto rest = input.Rest();
    value.receiver.content.bytes.assign(rest.begin(), rest.end());
    value.picture.content.bytes = value.receiver.content.bytes;
    if (value.mask) value.mask->shape.content.bytes = value.receiver.content.bytes;
    return value;
}

}  // namespace fuzz
