// A libgd input that hands on only the chunks a decoder needs. The decoder calls it through C, so
// nothing here throws; a damaged length merely ends the file early.
#include "workbench/files/png_stream.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace workbench {
namespace {

struct PngStream {
    std::FILE* file = nullptr;
    std::array<unsigned char, 8> header{};  // length and type of the chunk
    std::size_t headerLeft = 0;             // bytes of it not yet handed on
    std::uint64_t bodyLeft = 0;             // bytes of the chunk, its checksum included
};

bool StartChunk(PngStream& stream) {
    for (;;) {
        if (std::fread(stream.header.data(), stream.header.size(), 1, stream.file) != 1)
            return false;
        std::uint64_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8U | stream.header[i];
        constexpr std::uint64_t checksum = 4;
        stream.bodyLeft = length + checksum;
        std::array<char, 4> type{};
        std::memcpy(type.data(), stream.header.data() + 4, type.size());
        if (DecidesPixels({type.data(), type.size()})) {
            stream.headerLeft = stream.header.size();
            return true;
        }
        if (fseeko(stream.file, static_cast<off_t>(stream.bodyLeft), SEEK_CUR) != 0) return false;
    }
}

std::size_t TakeHeader(PngStream& stream, unsigned char* target, std::size_t wanted) {
    const std::size_t count = std::min(stream.headerLeft, wanted);
    std::memcpy(target, stream.header.data() + (stream.header.size() - stream.headerLeft), count);
    stream.headerLeft -= count;
    return count;
}

int Read(gdIOCtx* context, void* buffer, int wanted) {
    auto& stream = *static_cast<PngStream*>(context->data);
    auto* const target = static_cast<unsigned char*>(buffer);
    const auto total = static_cast<std::size_t>(std::max(wanted, 0));
    std::size_t done = 0;
    while (done < total) {
        if (stream.headerLeft == 0 && stream.bodyLeft == 0 && !StartChunk(stream)) break;
        if (stream.headerLeft > 0) {
            done += TakeHeader(stream, target + done, total - done);
            continue;
        }
        const std::size_t count = std::min<std::uint64_t>(stream.bodyLeft, total - done);
        const std::size_t got = std::fread(target + done, 1, count, stream.file);
        done += got;
        stream.bodyLeft -= got;
        if (got < count) break;
    }
    return static_cast<int>(done);
}

}  // namespace

bool DecidesPixels(std::string_view type) {
    // Upper case in the first letter: a decoder must understand the chunk.
    constexpr char lowerCase = 0x20;
    return (type[0] & lowerCase) == 0 || type == "tRNS";
}

gdImage* DecodePng(std::FILE* file) {
    constexpr std::uint64_t signature = 8;
    PngStream stream;
    stream.file = file;
    stream.bodyLeft = signature;
    gdIOCtx context{};
    context.getBuf = Read;
    context.data = &stream;
    return gdImageCreateFromPngCtx(&context);
}

}  // namespace workbench
