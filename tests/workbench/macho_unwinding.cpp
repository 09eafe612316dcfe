// Frame records: those that the unwinder may see, and those that would end the process.
#include "workbench/macho/unwinding.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>

#include "tests/workbench/macho_maker.h"

namespace workbench::macho {
namespace {

void* OfferAnything(std::string_view /*symbol*/, std::string_view /*library*/) {
    static int something = 0;
    return &something;
}

constexpr const char* unsupported =
    "its frame records are of a kind that is not supported, or damaged";
constexpr const char* cutOff = "it ends within its frame records";

// Where the parts of the two records lie in FramesFor.
constexpr std::size_t versionPlace = 8;
constexpr std::size_t lettersPlace = 9;
constexpr std::size_t encodingPlace = 16;
constexpr std::size_t functionRecord = 24;
constexpr std::size_t distancePlace = functionRecord + 4;
constexpr std::size_t startPlace = functionRecord + 8;
constexpr std::size_t sizePlace = functionRecord + 16;

// What is said of the image's frames after a change of the file.
std::string ErrorAfter(const std::function<void(MadeFile&)>& change) {
    MadeFile made = PlainFile();
    change(made);
    const MadeBytes bytes = made.Bytes();
    const File file = Parse(bytes);
    const Image image(file, OfferAnything);
    try {
        FramesOf(file, image);
    } catch (const MachOError& error) {
        return error.what();
    }
    return "no error";
}

std::string ErrorWith(std::size_t place, const MadeBytes& bytes) {
    return ErrorAfter([&](MadeFile& made) {
        Place(made.segments[textSegment].contents, framesAddress + place, bytes);
    });
}

// Frames whose common record says this.
std::string ErrorWithCommon(const MadeBytes& record) {
    MadeBytes whole = Joined({{static_cast<std::uint8_t>(record.size() + 4), 0, 0, 0},
                              {0, 0, 0, 0},
                              record,
                              {0, 0, 0, 0}});
    whole.resize(FramesFor(callingAddress, framesAddress).size());
    return ErrorWith(0, whole);
}

TEST(MachOFrames, AreFoundInTheirSection) {
    const MadeBytes bytes = PlainFile().Bytes();
    const File file = Parse(bytes);
    const Image image(file, OfferAnything);
    EXPECT_EQ(FramesOf(file, image), image.At(framesAddress));
}

TEST(MachOFrames, MayBeMissing) {
    for (const bool hasSection : {false, true}) {
        MadeFile made = PlainFile();
        if (hasSection) {
            made.segments[textSegment].sections[0].size = 0;
        } else {
            made.segments[textSegment].sections.clear();
        }
        const MadeBytes bytes = made.Bytes();
        const File file = Parse(bytes);
        const Image image(file, OfferAnything);
        EXPECT_EQ(FramesOf(file, image), nullptr);
    }
}

TEST(MachOFrames, LeadExceptionsThroughTheImage) {
    const MadeBytes bytes = PlainFile().Bytes();
    const File file = Parse(bytes);
    const Image image(file, OfferAnything);
    const UnwindRegistration registration(FramesOf(file, image));
    using Caller = void (*)(void (*function)());
    const auto call = reinterpret_cast<Caller>(image.At(callingAddress));
    static bool wasCalled;  // What is called is a plain function, without anything of its own.
    wasCalled = false;
    call([] { wasCalled = true; });
    EXPECT_TRUE(wasCalled);
    try {
        call([] { throw std::runtime_error("through the image"); });
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "through the image");
    }
}

TEST(MachOFrames, EndWithAZero) {
    // In a segment that is full, so that nothing follows.
    const auto errorOf = [](std::size_t sizeBehind) {
        return ErrorAfter([sizeBehind](MadeFile& made) {
            const std::size_t size = FramesFor(0, 0).size();
            const std::uint64_t address = pageSize - size - sizeBehind;
            MadeSegment& text = made.segments[textSegment];
            text.contents.assign(pageSize, 0);
            Place(text.contents, address, FramesFor(callingAddress, address));
            text.sections[0].address = address;
            text.sections[0].size = size;
        });
    };
    EXPECT_EQ(errorOf(8), "no error");
    EXPECT_EQ(errorOf(4), "no error");
    EXPECT_EQ(errorOf(3), cutOff);
    EXPECT_EQ(errorOf(0), cutOff);
}

TEST(MachOFrames, HaveLengthsThatFit) {
    EXPECT_EQ(ErrorWith(0, {0xFF, 0xFF, 0xFF, 0xFF}), cutOff);  // of 64 bits
    EXPECT_EQ(ErrorWith(0, {0, 0x10, 0, 0}), cutOff);
    EXPECT_EQ(ErrorWith(0, {3, 0, 0, 0}), cutOff);
    EXPECT_EQ(ErrorWith(functionRecord, {19, 0, 0, 0}), cutOff);
    EXPECT_EQ(ErrorWith(0, {0, 0, 0, 0}), "no error");  // none at all
}

TEST(MachOFrames, AreOfTheKindThatCompilersWrite) {
    EXPECT_EQ(ErrorWith(versionPlace, {3}), unsupported);
    EXPECT_EQ(ErrorWith(lettersPlace, {'R', 'z'}), unsupported);
    EXPECT_EQ(ErrorWith(lettersPlace, {'z', 'S'}), unsupported);
    EXPECT_EQ(ErrorWith(lettersPlace, {'z', 'L'}), unsupported);  // absolute addresses
    for (int encoding = 0; encoding <= 0xFF; ++encoding) {
        EXPECT_EQ(ErrorWith(encodingPlace, {static_cast<std::uint8_t>(encoding)}),
                  encoding == 0x10 ? "no error" : unsupported)
            << encoding;
    }
    const MadeBytes numbers = Joined({{1}, Signed(-8), {16}});
    EXPECT_EQ(ErrorWithCommon(
                  Joined({{1}, Text("zPLR"), numbers, {7}, {0x9B, 1, 2, 3, 4}, {0x10}, {0x10}})),
              "no error");
    EXPECT_EQ(ErrorWithCommon(
                  Joined({{1}, Text("zPLR"), numbers, {7}, {0x00, 1, 2, 3, 4}, {0x10}, {0x10}})),
              unsupported);
    EXPECT_EQ(ErrorWithCommon(Joined({{1}, Text("zR"), numbers, {1}})), cutOff);
    EXPECT_EQ(ErrorWithCommon(Joined({{1}, Text("zP"), numbers, {1}, {0x9B, 1, 2}})), cutOff);
    EXPECT_EQ(ErrorWithCommon({1, 'z'}), "it ends within a name");
}

TEST(MachOFrames, OfFunctionsReferToACommonRecord) {
    EXPECT_EQ(ErrorWith(distancePlace, {distancePlace - 1, 0, 0, 0}), unsupported);
    EXPECT_EQ(ErrorWith(distancePlace, {4, 0, 0, 0}), unsupported);  // to itself
    EXPECT_EQ(ErrorWith(distancePlace, {0xFF, 0xFF, 0xFF, 0xFF}), unsupported);
}

TEST(MachOFrames, DescribeCodeOfTheImage) {
    const auto startAt = [](std::uint64_t address) {
        return ErrorWith(startPlace, Pointer(address - (framesAddress + startPlace)));
    };
    const std::uint64_t size = CallingCode().size();
    EXPECT_EQ(startAt(0), "no error");
    EXPECT_EQ(startAt(pageSize - size), "no error");
    EXPECT_EQ(startAt(pageSize - size + 1), unsupported);
    EXPECT_EQ(startAt(dataAddress), unsupported);
    EXPECT_EQ(startAt(3 * pageSize), unsupported);
    EXPECT_EQ(startAt(~std::uint64_t{0}), unsupported);
    EXPECT_EQ(ErrorWith(sizePlace, Pointer(pageSize)), unsupported);
    EXPECT_EQ(ErrorWith(sizePlace, Pointer(~std::uint64_t{0})), unsupported);
}

TEST(MachOFrames, CanBeReadAndAreInOnePlace) {
    EXPECT_EQ(ErrorAfter([](MadeFile& made) {
                  made.segments[textSegment].protection = protectionExecute;
              }),
              unsupported);
    EXPECT_EQ(ErrorAfter([](MadeFile& made) {
                  std::vector<MadeSection>& sections = made.segments[textSegment].sections;
                  sections.push_back(sections[0]);
              }),
              unsupported);
}

}  // namespace
}  // namespace workbench::macho
