// Reading of bytes that may end anywhere or say anything.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "workbench/macho/macho_error.h"

namespace workbench::macho {

using Bytes = std::span<const std::uint8_t>;

/// The `size` bytes from `offset` on. Throws MachOError, naming `what`, where they do not exist.
Bytes Part(Bytes bytes, std::uint64_t offset, std::uint64_t size, const char* what);

/// The text from `offset` on to its terminating zero. Throws MachOError where none comes.
std::string_view TextAt(Bytes bytes, std::uint64_t offset);

/// A record of the format at `offset`.
template <typename Record>
Record RecordAt(Bytes bytes, std::uint64_t offset, const char* what) {
    Record record;
    std::memcpy(&record, Part(bytes, offset, sizeof record, what).data(), sizeof record);
    return record;
}

/// Goes through numbers and names that follow each other. Every step throws MachOError, naming
/// `what`, at the end of the bytes.
class ByteReader {
  public:
    explicit ByteReader(Bytes bytes, const char* what = "link information")
        : bytes_(bytes), what_(what) {}

    bool IsAtEnd() const { return position_ >= bytes_.size(); }
    Bytes Rest() const { return bytes_.subspan(position_); }

    std::uint8_t Byte();

    /// Numbers of seven bits a byte, the lowest first (DWARF 4, section 7.6). Those that do not fit
    /// 64 bits are errors, and so are those of more than ten bytes.
    std::uint64_t Unsigned();
    std::int64_t Signed();

    std::string_view Text();

  private:
    [[noreturn]] void FailAtNumber() const;

    Bytes bytes_;
    const char* what_;
    std::size_t position_ = 0;
};

}  // namespace workbench::macho
