// Numbers and names from bytes that may end anywhere.
#include "workbench/macho/byte_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "tests/workbench/macho_maker.h"

namespace workbench::macho {
namespace {

template <typename Read>
std::string ErrorOf(const MadeBytes& bytes, Read read) {
    ByteReader reader(bytes, "test");
    try {
        read(reader);
    } catch (const MachOError& error) {
        return error.what();
    }
    return "no error";
}

std::string UnsignedError(const MadeBytes& bytes) {
    return ErrorOf(bytes, [](ByteReader& reader) { reader.Unsigned(); });
}

std::string SignedError(const MadeBytes& bytes) {
    return ErrorOf(bytes, [](ByteReader& reader) { reader.Signed(); });
}

constexpr const char* endError = "it ends within its test";
constexpr const char* sizeError = "a number in its test has more than 64 bits";

// Nine bytes that say nothing but that another follows, and that one.
MadeBytes TenBytes(std::uint8_t last, std::uint8_t others = 0x80) {
    MadeBytes bytes(9, others);
    bytes.push_back(last);
    return bytes;
}

TEST(MachOByteReader, ReadsUnsignedNumbersUpToTheLargest) {
    for (const std::uint64_t number :
         {std::uint64_t{0}, std::uint64_t{0x7F}, std::uint64_t{0x80}, std::uint64_t{0x3FFF},
          std::uint64_t{0x4000}, std::uint64_t{1} << 63U,
          std::numeric_limits<std::uint64_t>::max()}) {
        const MadeBytes bytes = Unsigned(number);
        ByteReader reader(bytes);
        EXPECT_EQ(reader.Unsigned(), number);
        EXPECT_TRUE(reader.IsAtEnd()) << number;
    }
    const MadeBytes known{0xE5, 0x8E, 0x26};
    EXPECT_EQ(ByteReader(known).Unsigned(), 624485U);
    const MadeBytes padded{0x85, 0x80, 0x00};
    EXPECT_EQ(ByteReader(padded).Unsigned(), 5U);
}

TEST(MachOByteReader, ReadsSignedNumbersUpToBothLimits) {
    using Limits = std::numeric_limits<std::int64_t>;
    for (const std::int64_t number :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{63}, std::int64_t{64}, std::int64_t{-64},
          std::int64_t{-65}, Limits::max(), Limits::min(), Limits::min() + 1}) {
        const MadeBytes bytes = Signed(number);
        ByteReader reader(bytes);
        EXPECT_EQ(reader.Signed(), number);
        EXPECT_TRUE(reader.IsAtEnd()) << number;
    }
    const MadeBytes known{0xC0, 0xBB, 0x78};
    EXPECT_EQ(ByteReader(known).Signed(), -123456);
}

TEST(MachOByteReader, RefusesNumbersOfMoreThan64Bits) {
    EXPECT_EQ(UnsignedError(TenBytes(0x01)), "no error");
    EXPECT_EQ(UnsignedError(TenBytes(0x02)), sizeError);
    EXPECT_EQ(UnsignedError(Joined({TenBytes(0x80), {0x00}})), sizeError);
    EXPECT_EQ(SignedError(TenBytes(0x00)), "no error");
    EXPECT_EQ(SignedError(TenBytes(0x7F)), "no error");
    EXPECT_EQ(SignedError(TenBytes(0x01)), sizeError);
    EXPECT_EQ(SignedError(TenBytes(0x3F)), sizeError);
    EXPECT_EQ(SignedError(TenBytes(0x40)), sizeError);
    EXPECT_EQ(SignedError(Joined({TenBytes(0x80), {0x00}})), sizeError);
}

TEST(MachOByteReader, EndsWithItsBytes) {
    EXPECT_EQ(UnsignedError({}), endError);
    EXPECT_EQ(UnsignedError({0x80, 0x80}), endError);
    EXPECT_EQ(SignedError({}), endError);
    EXPECT_EQ(SignedError({0xFF}), endError);
    EXPECT_EQ(ErrorOf({}, [](ByteReader& reader) { reader.Byte(); }), endError);
    EXPECT_EQ(ErrorOf({'a', 'b'}, [](ByteReader& reader) { reader.Text(); }),
              "it ends within a name");
    EXPECT_EQ(ErrorOf({}, [](ByteReader& reader) { reader.Text(); }), "it ends within a name");
}

TEST(MachOByteReader, GoesOnBehindWhatItRead) {
    const MadeBytes bytes = Joined({{7}, Text("name"), Text(""), Unsigned(300), {9}});
    ByteReader reader(bytes);
    EXPECT_EQ(reader.Byte(), 7);
    EXPECT_EQ(reader.Text(), "name");
    EXPECT_EQ(reader.Text(), "");
    EXPECT_EQ(reader.Unsigned(), 300U);
    ASSERT_EQ(reader.Rest().size(), 1U);
    EXPECT_EQ(reader.Rest().front(), 9);
    EXPECT_FALSE(reader.IsAtEnd());
}

TEST(MachOByteReader, PartsMustLieWithin) {
    const MadeBytes bytes(10);
    constexpr std::uint64_t huge = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(Part(bytes, 4, 6, "test").size(), 6U);
    EXPECT_EQ(Part(bytes, 10, 0, "test").size(), 0U);
    EXPECT_THROW(Part(bytes, 4, 7, "test"), MachOError);
    EXPECT_THROW(Part(bytes, 11, 0, "test"), MachOError);
    EXPECT_THROW(Part(bytes, 1, huge, "test"), MachOError);
    EXPECT_THROW(Part(bytes, huge, 1, "test"), MachOError);
    EXPECT_THROW(TextAt(bytes, 11), MachOError);
    EXPECT_THROW(TextAt(bytes, huge), MachOError);
}

}  // namespace
}  // namespace workbench::macho
