// The system's anonymous memory files.
#include "tests/fuzz/images/file_in_memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace fuzz {
namespace {

[[noreturn]] void Fail() {
    throw std::system_error(errno, std::generic_category(), "a file in memory");
}

}  // namespace

FileInMemory::FileInMemory() : descriptor_(memfd_create("input", MFD_CLOEXEC)) {
    if (descriptor_ < 0) Fail();
}

FileInMemory::~FileInMemory() {
    close(descriptor_);
}

void FileInMemory::Write(std::span<const std::uint8_t> bytes) const {
    if (ftruncate(descriptor_, 0) != 0) Fail();
    off_t position = 0;
    while (!bytes.empty()) {
        const ssize_t written = pwrite(descriptor_, bytes.data(), bytes.size(), position);
        if (written < 0) Fail();
        position += written;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

std::filesystem::path FileInMemory::Path() const {
    return "/proc/self/fd/" + std::to_string(descriptor_);
}

}  // namespace fuzz
