// Hosts that lie about their pictures: the receiver, its mask, the picture drawn or the new
// picture. Whatever they say, every method stays inside the memory that the lie and the truth have
// in common, which stands against guard pages, and gives everything back.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

#include "tests/faults/fault_calls.h"
#include "tests/support/pixels.h"

namespace contract {
namespace {

using workbench::BitmapContext;

struct Lie {
    const char* name;
    std::function<void(Picture&)> tell;
    bool staysLocked = false;  // deliberate, and the host's affair
};

Lie Described(const char* name, const std::function<void(REALpictureDescription&)>& alter) {
    return {name, [alter](Picture& picture) { picture.alterDescription = alter; }};
}

Lie InContext(const char* name, const std::function<void(BitmapContext&)>& alter) {
    return {name, [alter](Picture& picture) {
                if (picture.Context() != nullptr) alter(*picture.Context());
            }};
}

// An alpha info that no picture in memory has. Its description stays locked.
Lie AlphaInfo(const char* name, std::uint32_t alphaInfo) {
    Lie lie = InContext(name, [alphaInfo](auto& context) { context.alphaInfo = alphaInfo; });
    lie.staysLocked = true;
    return lie;
}

std::vector<Lie> DesktopLies() {
    return {
        Described("NoHandle", [](auto& description) { description.handle = nullptr; }),
        Described("ConsoleKind",
                  [](auto& description) { description.kind = REALdescriptionKind::ConsoleImage; }),
        Described(
            "UnknownKind",
            [](auto& description) { description.kind = static_cast<REALdescriptionKind>(77); }),
        InContext("NoData", [](auto& context) { context.data = nullptr; }),
        InContext("SixteenBits", [](auto& context) { context.bitsPerPixel = 16; }),
        InContext("SixtyFourBits", [](auto& context) { context.bitsPerPixel = 64; }),
        InContext("NoBits", [](auto& context) { context.bitsPerPixel = 0; }),
        InContext("NoWidth", [](auto& context) { context.width = 0; }),
        InContext("NoHeight", [](auto& context) { context.height = 0; }),
        InContext("OneColumn", [](auto& context) { context.width = 1; }),
        InContext("OneRow", [](auto& context) { context.height = 1; }),
        InContext("HugeWidth", [](auto& context) { context.width = SIZE_MAX; }),
        InContext("HugeHeight", [](auto& context) { context.height = SIZE_MAX; }),
        InContext("NoRowBytes", [](auto& context) { context.bytesPerRow = 0; }),
        InContext("ShortRows", [](auto& context) { context.bytesPerRow = 4 * context.width - 4; }),
        InContext("HugeRows",
                  [](auto& context) {
                      context.bytesPerRow = SIZE_MAX;
                      context.height = 1;
                  }),
        AlphaInfo("AlphaInfo0", 0),
        AlphaInfo("AlphaInfo7", 7),
        {"OtherWidth", [](Picture& picture) { picture.reportedWidth = 3; }},
        {"OtherHeight", [](Picture& picture) { picture.reportedHeight = 30000; }},
        {"NegativeSize",
         [](Picture& picture) { picture.reportedWidth = picture.reportedHeight = -5; }},
        {"NoSize", [](Picture& picture) { picture.reportedWidth = picture.reportedHeight = 0; }},
        {"HugeSize",
         [](Picture& picture) {
             picture.reportedWidth = picture.reportedHeight = std::int64_t{1} << 40U;
         }},
        {"StorageType0", [](Picture& picture) { picture.typeCode = 0; }},
        {"NegativeStorageType", [](Picture& picture) { picture.typeCode = -1; }},
    };
}

std::vector<Lie> ConsoleLies() {
    static REALconsoleImage image;
    static int* noRows[64] = {};
    const auto alterImage = [](auto alter) {
        return [alter](REALpictureDescription& description) {
            image = *static_cast<REALconsoleImage*>(description.handle);
            alter(image);
            description.handle = &image;
        };
    };
    return {
        Described("NoHandle", [](auto& description) { description.handle = nullptr; }),
        Described("BitmapKind",
                  [](auto& description) { description.kind = REALdescriptionKind::BitmapContext; }),
        Described("NoRowTable", alterImage([](auto& altered) { altered.tpixels = nullptr; })),
        Described("NullRows",
                  alterImage([](auto& altered) { altered.tpixels = static_cast<int**>(noRows); })),
        Described("NoTruecolor", alterImage([](auto& altered) { altered.trueColor = 0; })),
        Described("ImageOfNoSize", alterImage([](auto& altered) { altered.sx = altered.sy = 0; })),
        Described("NegativeImage", alterImage([](auto& altered) { altered.sx = altered.sy = -7; })),
        Described("NoWidth", [](auto& description) { description.width = 0; }),
        Described("NoHeight", [](auto& description) { description.height = 0; }),
        Described("NegativeSize",
                  [](auto& description) { description.width = description.height = -3; }),
        Described("OneRow", [](auto& description) { description.height = 1; }),
        Described("OneColumn", [](auto& description) { description.width = 1; }),
        Described("MoreRows", [](auto& description) { ++description.height; }),
        Described("MoreColumns", [](auto& description) { ++description.width; }),
        Described("HugeSize",
                  [](auto& description) { description.width = description.height = INT32_MAX; }),
        {"OtherWidth", [](Picture& picture) { picture.reportedWidth = 3; }},
        {"OtherHeight", [](Picture& picture) { picture.reportedHeight = 30000; }},
        {"StorageType1", [](Picture& picture) { picture.typeCode = 1; }},
    };
}

enum class Liar { Receiver, Mask, Drawn, NewPicture };

class HostileHosts : public ::testing::TestWithParam<FaultCase> {
  protected:
    static void TearDownTestSuite() { std::cout << toldInAll << " lies told\n"; }

    static inline int toldInAll = 0;

    static bool OnConsole() {
        return GetParam().scene == Scene::Console || GetParam().scene == Scene::ConsoleMask;
    }

    // Calls the method while one of its pictures lies. False if there is no such picture.
    static bool Tell(const Lie& lie, Liar liar) {
        HostSettings settings = SettingsOf(GetParam().scene);
        bool lies = false;
        bool callRuns = false;
        settings.onNewPicture = [&](Picture& picture) {
            if (!callRuns || liar != Liar::NewPicture) return;
            lie.tell(picture);
            lies = true;
        };
        Session session(settings);
        const auto arm = [&](Session&, const CasePictures& pictures) {
            callRuns = true;
            Picture* const chosen = liar == Liar::Receiver ? pictures.receiver
                                    : liar == Liar::Mask   ? pictures.mask
                                    : liar == Liar::Drawn  ? pictures.drawn
                                                           : nullptr;
            if (chosen == nullptr) return;
            lie.tell(*chosen);
            lies = true;
        };
        const auto disarm = [&](Session&, const CasePictures&) { callRuns = false; };
        const Outcome found = RunCase(session, GetParam(), arm, disarm);
        EXPECT_TRUE(found.sourceIsUnchanged);
        if (lie.staysLocked) {
            session.host().WriteOffLeftovers();
            session.host().Books().TakeErrors();
        }
        return lies;
    }
};

TEST_P(HostileHosts, HaveNothingTouchedOutsideTheirPicturesAndLoseNothing) {
    int told = 0;
    for (const Liar liar : {Liar::Receiver, Liar::Mask, Liar::Drawn, Liar::NewPicture}) {
        for (const Lie& lie : OnConsole() ? ConsoleLies() : DesktopLies()) {
            SCOPED_TRACE(std::string(lie.name) + " of picture " +
                         std::to_string(static_cast<int>(liar)));
            if (Tell(lie, liar)) ++told;
        }
    }
    EXPECT_GT(told, 30);
    toldInAll += told;
}

INSTANTIATE_TEST_SUITE_P(Methods, HostileHosts, ::testing::ValuesIn(AllFaultCases()),
                         ::testing::PrintToStringParamName());

}  // namespace
}  // namespace contract
