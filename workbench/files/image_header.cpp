// Finds width and height in the headers of six formats. Every position comes from an untrusted
// file: whatever cannot be followed ends the search, with a size of 0 by 0.
#include "workbench/files/image_header.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "workbench/files/byte_source.h"

namespace workbench {
namespace {

struct Size {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

bool StartsWith(std::span<const std::uint8_t> bytes, std::string_view signature,
                std::size_t position = 0) {
    return bytes.size() >= position + signature.size() &&
           std::memcmp(bytes.data() + position, signature.data(), signature.size()) == 0;
}

// A start-of-frame marker carries the size; the segments before it are skipped by their lengths.
Size JpegSize(ByteSource& source) {
    constexpr int mostSegments = 1000;
    std::uint64_t position = 2;
    for (int segment = 0; segment < mostSegments; ++segment) {
        const std::uint64_t marker = source.BigEndian(position, 2);
        if (marker == 0xFFFF) {  // fill bytes may stand before a marker
            ++position;
            continue;
        }
        if (marker < 0xFFC0) return {};
        if (marker >= 0xFFD0 && marker <= 0xFFD7) {  // restart markers have no length
            position += 2;
            continue;
        }
        const bool isTable = marker == 0xFFC4 || marker == 0xFFC8 || marker == 0xFFCC;
        if (marker <= 0xFFCF && !isTable)
            return {source.BigEndian(position + 7, 2), source.BigEndian(position + 5, 2)};
        position += 2 + source.BigEndian(position + 2, 2);
    }
    return {};
}

Size BmpSize(ByteSource& source) {
    constexpr std::uint64_t oldHeader = 12;
    if (source.LittleEndian(14, 4) == oldHeader)
        return {source.LittleEndian(18, 2), source.LittleEndian(20, 2)};
    const auto height = static_cast<std::int32_t>(source.LittleEndian(22, 4));
    const std::int64_t rows = height;  // negative: stored from the top
    return {source.LittleEndian(18, 4), static_cast<std::uint64_t>(rows < 0 ? -rows : rows)};
}

Size WebPSize(ByteSource& source) {
    const std::vector<std::uint8_t> kind = source.Bytes(12, 4);
    if (StartsWith(kind, "VP8X"))
        return {source.LittleEndian(24, 3) + 1, source.LittleEndian(27, 3) + 1};
    if (StartsWith(kind, "VP8L")) {
        const std::uint64_t bits = source.LittleEndian(21, 4);
        return {(bits & 0x3FFF) + 1, (bits >> 14U & 0x3FFF) + 1};
    }
    return {source.LittleEndian(26, 2) & 0x3FFF, source.LittleEndian(28, 2) & 0x3FFF};
}

// The header comes first; a decoder that passes over other chunks would find it later, too.
Size PngSize(ByteSource& source) {
    if (!StartsWith(source.Bytes(12, 4), "IHDR")) return {};
    return {source.BigEndian(16, 4), source.BigEndian(20, 4)};
}

Size TiffSize(ByteSource& source, bool isLittleEndian) {
    const auto number = [&](std::uint64_t position, std::size_t count) {
        return isLittleEndian ? source.LittleEndian(position, count)
                              : source.BigEndian(position, count);
    };
    constexpr std::uint64_t widthTag = 256;
    constexpr std::uint64_t heightTag = 257;
    constexpr std::uint64_t shortType = 3;
    constexpr std::uint64_t longType = 4;
    constexpr std::uint64_t entrySize = 12;
    const std::uint64_t directory = number(4, 4);
    const std::uint64_t count = number(directory, 2);
    Size size;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t entry = directory + 2 + i * entrySize;
        // A short file may claim thousands of entries.
        if (source.Bytes(entry, entrySize).size() < entrySize) break;
        const std::uint64_t tag = number(entry, 2);
        if (tag != widthTag && tag != heightTag) continue;
        const std::uint64_t type = number(entry + 2, 2);
        if (type != shortType && type != longType) return {};
        // Of two entries the decoder takes one or the other.
        std::uint64_t& side = tag == widthTag ? size.width : size.height;
        side = std::max(side, number(entry + 8, type == shortType ? 2 : 4));
    }
    return size;
}

ImageHeader Header(ImageFormat format, Size size) {
    return {format, size.width, size.height};
}

}  // namespace

std::string_view FormatName(ImageFormat format) {
    switch (format) {
        case ImageFormat::Png:
            return "PNG";
        case ImageFormat::Jpeg:
            return "JPEG";
        case ImageFormat::Gif:
            return "GIF";
        case ImageFormat::Bmp:
            return "BMP";
        case ImageFormat::WebP:
            return "WebP";
        case ImageFormat::Tiff:
            return "TIFF";
    }
    return "";
}

std::optional<ImageHeader> ReadImageHeader(const std::filesystem::path& file) {
    using namespace std::string_view_literals;
    ByteSource source(file);
    const std::vector<std::uint8_t> start = source.Bytes(0, 16);
    if (StartsWith(start, "\x89PNG\r\n\x1a\n")) return Header(ImageFormat::Png, PngSize(source));
    if (StartsWith(start, "\xff\xd8\xff")) return Header(ImageFormat::Jpeg, JpegSize(source));
    if (StartsWith(start, "GIF8"))
        return Header(ImageFormat::Gif, {source.LittleEndian(6, 2), source.LittleEndian(8, 2)});
    if (StartsWith(start, "BM")) return Header(ImageFormat::Bmp, BmpSize(source));
    if (StartsWith(start, "RIFF") && StartsWith(start, "WEBP", 8))
        return Header(ImageFormat::WebP, WebPSize(source));
    if (StartsWith(start, "II*\0"sv)) return Header(ImageFormat::Tiff, TiffSize(source, true));
    if (StartsWith(start, "MM\0*"sv)) return Header(ImageFormat::Tiff, TiffSize(source, false));
    return std::nullopt;
}

}  // namespace workbench
