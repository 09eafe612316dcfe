// Reads numbers at positions that come from the file itself, and so may point anywhere.
#include "workbench/files/byte_source.h"

#include <sys/types.h>

#include <cerrno>
#include <cstring>

#include "workbench/files/file_error.h"

namespace workbench {

ByteSource::ByteSource(const std::filesystem::path& path) : file_(std::fopen(path.c_str(), "rb")) {
    if (file_ == nullptr) throw FileError(path, std::strerror(errno));
}

std::vector<std::uint8_t> ByteSource::Bytes(std::uint64_t position, std::size_t count) {
    constexpr std::uint64_t farthest = std::uint64_t{1} << 40U;
    if (position > farthest || fseeko(file_.get(), static_cast<off_t>(position), SEEK_SET) != 0)
        return {};
    std::vector<std::uint8_t> bytes(count);
    bytes.resize(std::fread(bytes.data(), 1, count, file_.get()));
    return bytes;
}

std::vector<std::uint8_t> ByteSource::Whole(std::uint64_t position, std::size_t count) {
    std::vector<std::uint8_t> bytes = Bytes(position, count);
    if (bytes.size() < count) bytes.clear();
    return bytes;
}

std::uint64_t ByteSource::BigEndian(std::uint64_t position, std::size_t count) {
    std::uint64_t number = 0;
    for (const std::uint8_t byte : Whole(position, count))
        number = number << 8U | byte;
    return number;
}

std::uint64_t ByteSource::LittleEndian(std::uint64_t position, std::size_t count) {
    std::uint64_t number = 0;
    unsigned shift = 0;
    for (const std::uint8_t byte : Whole(position, count)) {
        number |= std::uint64_t{byte} << shift;
        shift += 8;
    }
    return number;
}

}  // namespace workbench
