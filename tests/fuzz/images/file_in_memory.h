// A file without a folder or a disk, for code that opens files by their names.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

namespace fuzz {

class FileInMemory {
  public:
    /// Makes an empty file. Throws std::system_error.
    FileInMemory();
    FileInMemory(const FileInMemory&) = delete;
    FileInMemory& operator=(const FileInMemory&) = delete;
    ~FileInMemory();

    /// Replaces everything in it. Throws std::system_error.
    void Write(std::span<const std::uint8_t> bytes) const;

    /// Under which name this process can open it.
    std::filesystem::path Path() const;

  private:
    int descriptor_;
};

}  // namespace fuzz
