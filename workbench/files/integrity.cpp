// Walks the blocks of GIF files and the chunks of PNG files. Lengths come from an untrusted file:
// each step goes forward, and the end of the file ends the walk.
#include "workbench/files/integrity.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "workbench/files/byte_source.h"
#include "workbench/files/png_stream.h"

namespace workbench {
namespace {

// The position behind a chain of data blocks, each with its length in front and an empty one at the
// end; nothing if the file ends first.
std::optional<std::uint64_t> SkipGifBlocks(ByteSource& source, std::uint64_t position) {
    for (;;) {
        const std::vector<std::uint8_t> length = source.Bytes(position, 1);
        if (length.empty()) return std::nullopt;
        position += 1 + std::uint64_t{length.front()};
        if (length.front() == 0) return position;
    }
}

std::uint64_t GifColorTableSize(std::uint64_t flags) {
    return (flags & 0x80U) == 0 ? 0 : 3ULL << ((flags & 7U) + 1U);
}

// The decoder fills up what is missing of the first image without a word.
std::string FindGifDamage(ByteSource& source) {
    constexpr std::uint8_t extension = 0x21;
    constexpr std::uint8_t image = 0x2C;
    std::optional<std::uint64_t> position = 13 + GifColorTableSize(source.LittleEndian(10, 1));
    while (position) {
        const std::uint64_t introducer = source.LittleEndian(*position, 1);
        if (introducer == image) {
            const std::uint64_t table = GifColorTableSize(source.LittleEndian(*position + 9, 1));
            position = SkipGifBlocks(source, *position + 11 + table);
            return position ? "" : "it ends within its picture";
        }
        if (introducer != extension) return "it holds no picture";
        position = SkipGifBlocks(source, *position + 2);
    }
    return "it ends before its picture";
}

// The checksum of PNG files, taken further by some bytes.
std::uint32_t Checksum(std::uint32_t checksum, const std::vector<std::uint8_t>& bytes) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> entries{};
        for (std::uint32_t i = 0; i < entries.size(); ++i) {
            entries.at(i) = i;
            for (int bit = 0; bit < 8; ++bit)
                entries.at(i) =
                    (entries.at(i) >> 1U) ^ ((entries.at(i) & 1U) != 0 ? 0xEDB88320U : 0U);
        }
        return entries;
    }();
    for (const std::uint8_t byte : bytes)
        checksum = table.at((checksum ^ byte) & 0xFFU) ^ (checksum >> 8U);
    return checksum;
}

// Whether a chunk's type and data have the checksum behind them.
bool HasItsChecksum(ByteSource& source, std::uint64_t chunk, std::uint64_t length) {
    constexpr std::uint64_t portion = 1U << 16U;
    const std::uint64_t end = chunk + 8 + length;
    std::uint32_t checksum = 0xFFFFFFFFU;
    for (std::uint64_t position = chunk + 4; position < end;) {
        const std::vector<std::uint8_t> bytes =
            source.Bytes(position, static_cast<std::size_t>(std::min(portion, end - position)));
        if (bytes.empty()) return false;
        checksum = Checksum(checksum, bytes);
        position += bytes.size();
    }
    return source.Bytes(end, 4).size() == 4 && source.BigEndian(end, 4) == (checksum ^ 0xFFFFFFFFU);
}

std::string FindPngDamage(ByteSource& source) {
    constexpr std::uint64_t longestChunk = 0x7FFFFFFF;
    for (std::uint64_t position = 8;;) {
        const std::vector<std::uint8_t> type = source.Bytes(position + 4, 4);
        if (type.size() < 4) return "it ends too early";
        const std::string name(type.begin(), type.end());
        const std::uint64_t length = source.BigEndian(position, 4);
        if (length > longestChunk) return "one of its parts has an impossible length";
        if (DecidesPixels(name) && !HasItsChecksum(source, position, length))
            return "a checksum is wrong, or it ends too early";
        if (name == "IEND") return "";
        position += 12 + length;
    }
}

}  // namespace

std::string FindDamage(ImageFormat format, const std::filesystem::path& file) {
    ByteSource source(file);
    if (format == ImageFormat::Gif) return FindGifDamage(source);
    if (format == ImageFormat::Png) return FindPngDamage(source);
    return "";
}

}  // namespace workbench
