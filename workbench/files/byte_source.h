// Single numbers out of a file, for whoever looks at a header. Positions may be anything: what lies
// beyond the end of the file reads as nothing or 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

namespace workbench {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

class ByteSource {
  public:
    /// Throws FileError if the file cannot be opened.
    explicit ByteSource(const std::filesystem::path& path);

    /// The bytes at a position; fewer, or none, near the end of the file.
    std::vector<std::uint8_t> Bytes(std::uint64_t position, std::size_t count);

    /// A number of up to 8 bytes; 0 if the file ends before it does.
    std::uint64_t BigEndian(std::uint64_t position, std::size_t count);
    std::uint64_t LittleEndian(std::uint64_t position, std::size_t count);

  private:
    std::vector<std::uint8_t> Whole(std::uint64_t position, std::size_t count);

    std::unique_ptr<std::FILE, FileCloser> file_;
};

}  // namespace workbench
