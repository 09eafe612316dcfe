// Pictures: how they are made in both runtimes, what their descriptions say, and masks.
#include <gd.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <vector>

#include "hostapi/platform.h"
#include "tests/workbench/host_services.h"
#include "workbench/host/host.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr REALinteger bitmapKind = 8;
constexpr REALinteger consoleKind = 10;
constexpr int allLayouts[] = {1, 2, 3, 4, 5, 6, consoleLayout};

/// A description, locked while this lives.
class LockedDescription {
  public:
    LockedDescription(REALpicture picture, REALinteger kind) : picture_(picture) {
        locked = services::REALLockPictureDescription()(picture, &description, kind) != 0;
    }
    ~LockedDescription() {
        if (locked) services::REALUnlockPictureDescription()(picture_);
    }
    LockedDescription(const LockedDescription&) = delete;
    LockedDescription& operator=(const LockedDescription&) = delete;

    REALpictureDescription description{};
    bool locked = false;

  private:
    REALpicture picture_;
};

TEST(PixelLayouts, PutTheChannelsWhereTheLayoutSays) {
    constexpr Color color{10, 20, 30, 255};
    EXPECT_EQ(EncodePixel(color, 1), 0xFF1E140AU);  // bytes R G B A
    EXPECT_EQ(EncodePixel(color, 2), 0x1E140AFFU);  // bytes A R G B
    EXPECT_EQ(EncodePixel(color, 3), 0xFF1E140AU);
    EXPECT_EQ(EncodePixel(color, 4), 0x1E140AFFU);
    EXPECT_EQ(EncodePixel(color, 5), 0xFF1E140AU);
    EXPECT_EQ(EncodePixel(color, 6), 0x1E140AFFU);
    EXPECT_EQ(EncodePixel(color, consoleLayout), 0x000A141EU);
}

TEST(PicturesMade, StayZeroWhereTheCallerWritesAllOfThem) {
    for (const Runtime runtime : {Runtime::Console, Runtime::Desktop}) {
        HostSettings settings;
        settings.runtime = runtime;
        Host host(settings);
        PictureOptions options;
        options.width = 3;
        EXPECT_EQ(host.CreatePicture(options)->At(2, 0).red, 255);
        options.unfilled = true;
        EXPECT_EQ(host.CreatePicture(options)->Word(2, 0), 0U);
    }
}

TEST(PixelLayouts, PremultiplyWhereTheLayoutDoes) {
    constexpr Color half{200, 100, 0, 128};
    EXPECT_EQ(EncodePixel(half, 1), 0x800032'64U);  // 200 * 128 / 255 is 100.4
    EXPECT_EQ(EncodePixel(half, 3), 0x800064C8U);
    EXPECT_EQ(EncodePixel(half, 5), 0xFF0064C8U);
}

TEST(PixelLayouts, GiveBackTheColourPutIn) {
    for (const int layout : allLayouts) {
        EXPECT_TRUE(IsLayout(layout));
        for (const Color color : {white, black, Color{1, 128, 254, 255}}) {
            EXPECT_EQ(DecodePixel(EncodePixel(color, layout), layout), color) << layout;
        }
    }
    EXPECT_FALSE(IsLayout(0));
    EXPECT_FALSE(IsLayout(7));
}

TEST(PixelLayouts, IgnoreTheUnusedByteAndTheConsolesTopBit) {
    EXPECT_EQ(DecodePixel(0x001E140AU, 5), (Color{10, 20, 30, 255}));
    EXPECT_EQ(DecodePixel(0x1E140A00U, 6), (Color{10, 20, 30, 255}));
    EXPECT_EQ(DecodePixel(0x800A141EU, consoleLayout), (Color{10, 20, 30, 255}));
    EXPECT_EQ(DecodePixel(0x7F0A141EU, consoleLayout), (Color{10, 20, 30, 0}));
}

TEST(PixelLayouts, KeepEverySevenBitTransparency) {
    for (std::uint32_t transparency = 0; transparency < 128; ++transparency) {
        const std::uint32_t word = transparency << 24U;
        EXPECT_EQ(EncodePixel(DecodePixel(word, consoleLayout), consoleLayout), word);
    }
}

TEST(PixelLayouts, GiveBackEveryStraightAlpha) {
    for (const int layout : {3, 4}) {
        for (int alpha = 0; alpha < 256; ++alpha) {
            const Color color{9, 99, 199, static_cast<std::uint8_t>(alpha)};
            EXPECT_EQ(DecodePixel(EncodePixel(color, layout), layout), color);
        }
    }
}

TEST(HostPictures, OfTheDesktopAreWhiteOpaqueBitmapContexts) {
    for (int layout = 1; layout <= 6; ++layout) {
        Host host({.runtime = Runtime::Desktop, .layout = layout});
        const Held<Picture> picture = host.Adopt(services::REALNewPicture()(5, 3, 32));
        EXPECT_EQ(picture->Layout(), layout);
        EXPECT_FALSE(picture->HasAlphaChannel());
        EXPECT_EQ(picture->At(4, 2), white);
        EXPECT_EQ(picture->Word(0, 0), 0xFFFFFFFFU);

        const LockedDescription lock(picture.Handle(), bitmapKind);
        ASSERT_TRUE(lock.locked);
        EXPECT_EQ(lock.description.kind, REALdescriptionKind::BitmapContext);
        EXPECT_EQ(lock.description.width, 5);
        EXPECT_EQ(lock.description.height, 3);
        void* context = lock.description.handle;
        EXPECT_EQ(CGBitmapContextGetData(context), picture->Row(0).data());
        EXPECT_EQ(CGBitmapContextGetWidth(context), 5);
        EXPECT_EQ(CGBitmapContextGetHeight(context), 3);
        EXPECT_EQ(CGBitmapContextGetBytesPerRow(context), 20);
        EXPECT_EQ(CGBitmapContextGetBitsPerPixel(context), 32);
        EXPECT_EQ(CGBitmapContextGetAlphaInfo(context), layout);
    }
}

TEST(HostPictures, OfTheConsoleAreWhiteTruecolorImages) {
    Host host({.runtime = Runtime::Console});
    const Held<Picture> picture = host.Adopt(services::REALNewPicture()(5, 3, 32));
    EXPECT_EQ(picture->Layout(), consoleLayout);
    EXPECT_EQ(picture->At(4, 2), white);
    const LockedDescription lock(picture.Handle(), consoleKind);
    ASSERT_TRUE(lock.locked);
    EXPECT_EQ(lock.description.kind, REALdescriptionKind::ConsoleImage);
    EXPECT_EQ(lock.description.width, 5);
    EXPECT_EQ(lock.description.height, 3);
    const auto* image = static_cast<const REALconsoleImage*>(lock.description.handle);
    EXPECT_EQ(image->pixels, nullptr);
    EXPECT_NE(image->trueColor, 0);
    EXPECT_EQ(image->sx, 5);
    for (int y = 0; y < 3; ++y) {
        EXPECT_EQ(static_cast<void*>(image->tpixels[y]),
                  static_cast<void*>(picture->Row(y).data()));
    }
    auto* libgd = static_cast<gdImage*>(picture->GdImage());
    gdImageSetPixel(libgd, 4, 2, 0x123456);
    EXPECT_EQ(picture->At(4, 2), (Color{0x12, 0x34, 0x56, 255}));
}

TEST(HostPictures, AreDescribedOnlyInTheKindTheyHave) {
    Host host;
    const Held<Picture> bitmap = host.CreatePicture({});
    const Held<Picture> image = host.CreatePicture({.memory = REALdescriptionKind::ConsoleImage});
    EXPECT_FALSE(LockedDescription(bitmap.Handle(), consoleKind).locked);
    EXPECT_FALSE(LockedDescription(image.Handle(), bitmapKind).locked);
    EXPECT_FALSE(LockedDescription(image.Handle(), 9).locked);
    EXPECT_TRUE(LockedDescription(image.Handle(), consoleKind).locked);
}

TEST(HostPictures, CannotBeMadeInSizesOrDepthsThatNoPictureHas) {
    Host host({.maximumPictureBytes = 1000});
    EXPECT_EQ(services::REALNewPicture()(0, 1, 32), nullptr);
    EXPECT_EQ(services::REALNewPicture()(1, -1, 32), nullptr);
    EXPECT_EQ(services::REALNewPicture()(std::int64_t{1} << 32U, 1, 32), nullptr);
    EXPECT_EQ(services::REALNewPicture()(1, 1, 0), nullptr);
    EXPECT_EQ(services::REALNewPicture()(251, 1, 32), nullptr);  // 1004 bytes
    EXPECT_TRUE(host.Adopt(services::REALNewPicture()(250, 1, 32)));
    EXPECT_THROW(host.CreatePicture({.width = 0}), std::invalid_argument);
    EXPECT_THROW(host.CreatePicture({.width = 300}), std::bad_alloc);
    EXPECT_THROW(host.CreatePicture({.layout = 7}), std::invalid_argument);
    EXPECT_THROW(host.CreatePicture({.rowPadding = 6}), std::invalid_argument);
}

TEST(HostPictures, TellTheirProperties) {
    Host host;
    const Held<Picture> picture =
        host.CreatePicture({.width = 7, .height = 9, .alphaChannel = true});
    REALinteger value = 0;
    EXPECT_TRUE(services::REALGetPropValueInteger()(picture.Handle(), "Width", &value));
    EXPECT_EQ(value, 7);
    EXPECT_TRUE(services::REALGetPropValueInteger()(picture.Handle(), "height", &value));
    EXPECT_EQ(value, 9);
    EXPECT_FALSE(services::REALGetPropValueInteger()(picture.Handle(), "Depth", &value));
    EXPECT_FALSE(services::REALGetPropValueInteger()(picture.Handle(), "Width", nullptr));
    REALboolean alpha = 0;
    EXPECT_TRUE(services::REALGetPropValueBoolean()(picture.Handle(), "HasAlphaChannel", &alpha));
    EXPECT_TRUE(alpha);
    EXPECT_FALSE(services::REALGetPropValueBoolean()(picture.Handle(), "Width", &alpha));
    picture->reportedWidth = -5;
    EXPECT_TRUE(services::REALGetPropValueInteger()(picture.Handle(), "Width", &value));
    EXPECT_EQ(value, -5);
}

TEST(HostPictures, WithAnAlphaChannelAreTransparentAndPremultiplied) {
    for (int layout = 1; layout <= 6; ++layout) {
        Host host({.layout = layout});
        const Held<Picture> picture = host.CreatePicture({.alphaChannel = true});
        EXPECT_EQ(picture->Layout(), layout % 2 == 0 ? 2 : 1);
        EXPECT_EQ(picture->At(0, 0), transparent);
    }
}

TEST(HostPictures, AreConstructedByTheMethodOfTheirClass) {
    constexpr const char* declaration = "Constructor(width as integer, height as integer)";
    Host host({.version = 2011.04});
    const Held<Picture> picture =
        host.Adopt(static_cast<REALpicture>(services::REALnewInstance()("Picture")));
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->Width(), 0);
    EXPECT_FALSE(LockedDescription(picture.Handle(), bitmapKind).locked);
    auto* construct = reinterpret_cast<void (*)(REALpicture, REALinteger, REALinteger)>(
        services::REALLoadObjectMethod()(picture.Handle(), declaration));
    ASSERT_NE(construct, nullptr);
    construct(picture.Handle(), 0, 4);
    EXPECT_EQ(host.TakeException()->className, "OutOfBoundsException");
    EXPECT_EQ(picture->Width(), 0);
    construct(picture.Handle(), 40000, 4);
    EXPECT_EQ(picture->Width(), 40000);
    EXPECT_EQ(picture->Height(), 4);
    EXPECT_TRUE(picture->HasAlphaChannel());
    EXPECT_EQ(picture->At(39999, 3), transparent);
    construct(picture.Handle(), 1 << 30, 1 << 30);
    EXPECT_EQ(host.TakeException()->className, "OutOfMemoryException");
    EXPECT_EQ(picture->Width(), 40000);
}

TEST(HostPictures, HaveNoConstructorOnOlderHosts) {
    Host host({.version = 2011.03});
    const Held<Picture> picture = host.CreatePicture({});
    EXPECT_EQ(services::REALLoadObjectMethod()(picture.Handle(),
                                               "Constructor(width as integer, height as integer)"),
              nullptr);
}

TEST(HostPictures, HaveTheTypeCodeTheyAreGiven) {
    Host host;
    EXPECT_EQ(services::REALGetPictureType()(host.CreatePicture({}).Handle()), 2);
    EXPECT_EQ(services::REALGetPictureType()(host.CreatePicture({.typeCode = 3}).Handle()), 3);
}

TEST(HostPictures, MayRefuseLocks) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({.refusesLocks = true});
    EXPECT_FALSE(LockedDescription(picture.Handle(), bitmapKind).locked);
    picture->refusesLocks = false;
    EXPECT_TRUE(LockedDescription(picture.Handle(), bitmapKind).locked);
}

TEST(HostPictures, MayLieInTheirDescriptionsAndContexts) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({.bitsPerPixel = 24, .alphaInfo = 0x2006});
    picture->alterDescription = [](REALpictureDescription& description) { description.width = -1; };
    picture->Context()->height = 77;
    const LockedDescription lock(picture.Handle(), bitmapKind);
    EXPECT_EQ(lock.description.width, -1);
    EXPECT_EQ(CGBitmapContextGetBitsPerPixel(lock.description.handle), 24);
    EXPECT_EQ(CGBitmapContextGetAlphaInfo(lock.description.handle), 0x2006);
    EXPECT_EQ(CGBitmapContextGetHeight(lock.description.handle), 77);
    EXPECT_EQ(picture->Height(), 1);
}

TEST(HostPictures, MayBePaletteImages) {
    Host host({.runtime = Runtime::Console});
    const Held<Picture> picture = host.CreatePicture({.width = 3, .height = 2, .palette = true});
    const LockedDescription lock(picture.Handle(), consoleKind);
    const auto* image = static_cast<const REALconsoleImage*>(lock.description.handle);
    EXPECT_NE(image->pixels, nullptr);
    EXPECT_EQ(image->trueColor, 0);
    EXPECT_TRUE(picture->Row(0).empty());
    EXPECT_EQ(picture->At(2, 1), white);
    picture->Put(2, 1, Color{1, 2, 3});
    EXPECT_EQ(picture->At(2, 1), (Color{1, 2, 3, 255}));
    EXPECT_EQ(picture->At(0, 0), white);
}

TEST(HostPictures, CountClearedCaches) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    services::REALPictureClearCache()(picture.Handle());
    services::REALPictureClearCache()(picture.Handle());
    EXPECT_EQ(picture->CacheClears(), 2);
}

TEST(HostPictures, RefuseCoordinatesOutside) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({.width = 3, .height = 2});
    EXPECT_THROW(picture->At(3, 0), std::out_of_range);
    EXPECT_THROW(picture->At(-1, 0), std::out_of_range);
    EXPECT_THROW(picture->Put(0, 2, black), std::out_of_range);
    EXPECT_THROW(picture->Row(-1), std::out_of_range);
    std::vector<Color> tooFew(2);
    EXPECT_THROW(picture->ReadRow(0, tooFew), std::out_of_range);
    EXPECT_THROW(picture->WriteRow(0, tooFew), std::out_of_range);
}

TEST(HostPictures, ReadAndWriteWholeRows) {
    for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
        Host host({.runtime = runtime, .layout = 4});
        const Held<Picture> picture = host.CreatePicture({.width = 3, .height = 2});
        const std::array colors{Color{1, 2, 3}, Color{4, 5, 6}, Color{7, 8, 9}};
        picture->WriteRow(1, colors);
        std::array<Color, 3> read{};
        picture->ReadRow(1, read);
        EXPECT_EQ(read, colors);
        EXPECT_EQ(picture->At(0, 0), white);
    }
}

TEST(HostPictures, NoticeWritesIntoTheirPadding) {
    Host host({.rowPadding = 8});
    const Held<Picture> picture = host.CreatePicture({.width = 3, .height = 4});
    EXPECT_EQ(picture->Context()->bytesPerRow, 20);
    picture->Fill(black);
    EXPECT_TRUE(picture->PaddingIsIntact());
    std::uint32_t* end = picture->Row(3).data() + 3;
    const std::uint32_t before = *end;
    *end = before + 1;
    EXPECT_FALSE(picture->PaddingIsIntact());
    *end = before;
    EXPECT_TRUE(picture->PaddingIsIntact());
}

void WriteWord(std::uint32_t* word) {
    *const_cast<volatile std::uint32_t*>(word) = 0;
}

TEST(HostPicturesDeathTest, UnderGuardCrashAtAStepBehindARow) {
    for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
        Host host({.runtime = runtime, .guardPages = true});
        const Held<Picture> picture = host.CreatePicture({.width = 3, .height = 4});
        picture->Fill(black);
        for (int y = 0; y < 4; ++y) {
            EXPECT_DEATH(WriteWord(picture->Row(y).data() + 3), "");
        }
        EXPECT_TRUE(picture->PaddingIsIntact());
        WriteWord(picture->Row(1).data() - 1);
        EXPECT_FALSE(picture->PaddingIsIntact());
    }
}

TEST(HostPicturesDeathTest, UnderGuardWithPaddingCrashBehindTheBlock) {
    Host host({.rowPadding = 4, .guardPages = true});
    const Held<Picture> picture = host.CreatePicture({.width = 3, .height = 4});
    EXPECT_EQ(picture->Context()->bytesPerRow, 16);
    WriteWord(picture->Row(2).data() + 2);
    EXPECT_TRUE(picture->PaddingIsIntact());
    EXPECT_DEATH(WriteWord(picture->Row(3).data() + 4), "");
    WriteWord(picture->Row(0).data() - 1);
    EXPECT_FALSE(picture->PaddingIsIntact());
}

TEST(HostPictures, UnderGuardMayBeTallerThanRowsCanBeGuarded) {
    Host host({.guardPages = true});
    const Held<Picture> picture = host.CreatePicture({.width = 1, .height = 40000});
    picture->Put(0, 39999, black);
    EXPECT_EQ(picture->At(0, 39999), black);
    EXPECT_EQ(picture->At(0, 39998), white);
}

TEST(HostPictures, MaySharePixelsWithAnother) {
    for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
        Host host({.runtime = runtime, .layout = 3});
        const Held<Picture> owner = host.CreatePicture({.width = 6, .height = 5});
        const Held<Picture> window =
            host.CreatePicture({.width = 3, .height = 2, .shares = SharedPixels{&*owner, 2, 1}});
        EXPECT_EQ(window->Layout(), owner->Layout());
        EXPECT_TRUE(window->SharesMemoryWith(*owner));
        window->Put(0, 0, black);
        EXPECT_EQ(owner->At(2, 1), black);
        owner->Put(4, 2, Color{9, 8, 7});
        EXPECT_EQ(window->At(2, 1), (Color{9, 8, 7}));
        EXPECT_THROW(host.CreatePicture({.width = 5, .shares = SharedPixels{&*owner, 2, 1}}),
                     std::invalid_argument);
    }
}

TEST(HostPictures, SharedPixelsOutliveTheirOwner) {
    for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
        Host host({.runtime = runtime});
        Held<Picture> owner = host.CreatePicture({.width = 2, .height = 2});
        const Held<Picture> window = host.CreatePicture({.shares = SharedPixels{&*owner, 1, 1}});
        owner->Put(1, 1, black);
        owner.Reset();
        EXPECT_EQ(window->At(0, 0), black);
    }
}

TEST(HostPictures, AreBuiltFromABuffer) {
    for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
        Host host({.runtime = runtime, .layout = 6});
        const std::array<std::uint32_t, 6> buffer{0xFF030201U, 0xFF060504U, 0,
                                                  0xFF090807U, 0xFF0C0B0AU, 0};
        const Held<Picture> picture =
            host.Adopt(services::REALBuildPictureFromBuffer()(2, 2, 1, buffer.data(), 12));
        ASSERT_TRUE(picture);
        EXPECT_EQ(picture->At(0, 0), (Color{1, 2, 3}));
        EXPECT_EQ(picture->At(1, 1), (Color{10, 11, 12}));
        EXPECT_EQ(services::REALBuildPictureFromBuffer()(2, 2, 1, nullptr, 12), nullptr);
        EXPECT_EQ(services::REALBuildPictureFromBuffer()(2, 2, 7, buffer.data(), 12), nullptr);
        EXPECT_EQ(services::REALBuildPictureFromBuffer()(2, 2, 1, buffer.data(), 7), nullptr);
        EXPECT_EQ(services::REALBuildPictureFromBuffer()(2, 0, 1, buffer.data(), 12), nullptr);
    }
}

TEST(BitmapContextQueries, AnswerOnlyForALockedContext) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({.width = 4});
    void* context = nullptr;
    {
        const LockedDescription lock(picture.Handle(), bitmapKind);
        context = lock.description.handle;
        EXPECT_EQ(CGBitmapContextGetWidth(context), 4);
    }
    EXPECT_EQ(CGBitmapContextGetWidth(context), 0);
    int foreign = 0;
    EXPECT_EQ(CGBitmapContextGetData(&foreign), nullptr);
    EXPECT_EQ(CGBitmapContextGetData(nullptr), nullptr);
    EXPECT_THAT(host.Books().TakeErrors(),
                ElementsAre(HasSubstr("CGBitmapContextGetWidth was given the context of picture 1"),
                            HasSubstr("CGBitmapContextGetData was given no bitmap context")));
}

TEST(HostMasks, AreMadeWhiteWhenAskedFor) {
    for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
        Host host({.runtime = runtime});
        const Held<Picture> picture = host.CreatePicture({.width = 3, .height = 2});
        EXPECT_EQ(services::REALGetPictureMask()(picture.Handle(), 0), nullptr);
        const Held<Picture> mask = host.Adopt(services::REALGetPictureMask()(picture.Handle(), 1));
        ASSERT_TRUE(mask);
        EXPECT_EQ(mask->Width(), 3);
        EXPECT_EQ(mask->At(2, 1), white);
        EXPECT_EQ(picture->Mask(), mask.Get());
        EXPECT_EQ(host.Books().References(mask.Handle()), 2);
        const Held<Picture> again = host.Adopt(services::REALGetPictureMask()(picture.Handle(), 1));
        EXPECT_EQ(again.Handle(), mask.Handle());
    }
}

TEST(HostMasks, GoWithTheirPicture) {
    Host host;
    Held<Picture> picture = host.CreatePicture({});
    const REALpicture mask =
        host.Adopt(services::REALGetPictureMask()(picture.Handle(), 1)).Handle();
    EXPECT_TRUE(host.Books().IsLive(mask));
    picture.Reset();
    EXPECT_FALSE(host.Books().IsLive(mask));
    EXPECT_TRUE(host.Books().IsClean());
}

TEST(HostMasks, AreNotKeptByPicturesWithAnAlphaChannel) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({.alphaChannel = true});
    EXPECT_EQ(services::REALGetPictureMask()(picture.Handle(), 1), nullptr);
}

void AssignMask(REALpicture picture, REALpicture mask) {
    auto* setter = reinterpret_cast<void (*)(REALpicture, REALpicture)>(
        services::REALLoadObjectMethod()(picture, "Mask(assigns newMask As Picture)"));
    ASSERT_NE(setter, nullptr);
    setter(picture, mask);
}

TEST(HostMasks, AreAssignedReplacedAndTakenAway) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    const Held<Picture> first = host.CreatePicture({});
    const Held<Picture> second = host.CreatePicture({});
    AssignMask(picture.Handle(), first.Handle());
    EXPECT_EQ(picture->Mask(), first.Get());
    AssignMask(picture.Handle(), second.Handle());
    EXPECT_EQ(host.Books().References(first.Handle()), 1);
    EXPECT_EQ(host.Books().References(second.Handle()), 2);
    AssignMask(picture.Handle(), second.Handle());
    EXPECT_EQ(host.Books().References(second.Handle()), 2);
    AssignMask(picture.Handle(), nullptr);
    EXPECT_EQ(picture->Mask(), nullptr);
    EXPECT_EQ(host.Books().References(second.Handle()), 1);
}

TEST(HostMasks, CannotMaskThemselvesInACircle) {
    Host host;
    const Held<Picture> first = host.CreatePicture({});
    const Held<Picture> second = host.CreatePicture({});
    AssignMask(first.Handle(), second.Handle());
    AssignMask(second.Handle(), first.Handle());
    EXPECT_EQ(second->Mask(), nullptr);
    EXPECT_EQ(host.TakeException()->className, "RuntimeException");
}

TEST(HostMasks, BecomeTheAlphaOfAPictureWithAnAlphaChannel) {
    for (const Runtime runtime : {Runtime::Desktop, Runtime::Console}) {
        Host host({.runtime = runtime});
        const Held<Picture> picture = host.CreatePicture(
            {.width = 4, .height = 1, .alphaChannel = true, .fill = Color{200, 0, 0, 255}});
        const Held<Picture> mask = host.CreatePicture({.width = 3, .height = 1, .fill = black});
        mask->Put(1, 0, white);
        AssignMask(picture.Handle(), mask.Handle());
        EXPECT_EQ(picture->At(0, 0), (Color{200, 0, 0, 255}));
        EXPECT_EQ(picture->At(1, 0).alpha, 0);
        EXPECT_EQ(picture->At(3, 0).alpha, 255);  // beyond the mask
        EXPECT_EQ(picture->Mask(), nullptr);
        EXPECT_EQ(host.Books().References(mask.Handle()), 1);
        AssignMask(picture.Handle(), nullptr);
        EXPECT_EQ(picture->At(1, 0).alpha, 255);
    }
}

Held<Picture> CopyMaskOf(Host& host, const Held<Picture>& picture) {
    auto* copyMask = reinterpret_cast<REALpicture (*)(REALpicture)>(
        services::REALLoadObjectMethod()(picture.Handle(), "CopyMask as Picture"));
    return host.Adopt(copyMask(picture.Handle()));
}

TEST(HostMasks, AreCopiedFromTheAlphaChannel) {
    Host host;
    const Held<Picture> picture =
        host.CreatePicture({.width = 2, .height = 1, .alphaChannel = true});
    picture->Put(1, 0, Color{9, 9, 9, 200});
    const Held<Picture> mask = CopyMaskOf(host, picture);
    ASSERT_TRUE(mask);
    EXPECT_FALSE(mask->HasAlphaChannel());
    EXPECT_EQ(mask->At(0, 0), white);
    EXPECT_EQ(mask->At(1, 0), Grey(55));
}

TEST(HostMasks, AreCopiedFromTheMaskOrMissing) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({.width = 2, .height = 1});
    EXPECT_FALSE(CopyMaskOf(host, picture));
    const Held<Picture> mask = host.CreatePicture({.width = 5, .height = 1, .fill = Grey(70)});
    host.SetMask(*picture, &*mask);
    const Held<Picture> copy = CopyMaskOf(host, picture);
    ASSERT_TRUE(copy);
    EXPECT_NE(copy.Handle(), mask.Handle());
    EXPECT_EQ(copy->Width(), 5);
    EXPECT_EQ(copy->At(4, 0), Grey(70));
}

TEST(HostMasks, ThatAreGoneLeaveThePictureAsItWas) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    const REALpicture gone = services::REALNewPicture()(1, 1, 32);
    services::REALUnlockObject()(gone);
    const Held<Picture> mask = host.CreatePicture({});
    host.SetMask(*picture, &*mask);
    AssignMask(picture.Handle(), gone);
    EXPECT_EQ(picture->Mask(), mask.Get());
    EXPECT_EQ(host.Books().TakeErrors().size(), 1);
}

}  // namespace
}  // namespace workbench
