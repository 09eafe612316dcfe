// Every access is checked against the bytes that there are.
#include "workbench/macho/byte_reader.h"

#include <algorithm>
#include <string>

namespace workbench::macho {

Bytes Part(Bytes bytes, std::uint64_t offset, std::uint64_t size, const char* what) {
    if (offset > bytes.size() || size > bytes.size() - offset) {
        throw MachOError("it ends within its " + std::string(what));
    }
    return bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
}

std::string_view TextAt(Bytes bytes, std::uint64_t offset) {
    const Bytes rest = Part(bytes, offset, bytes.size() - std::min(offset, bytes.size()), "names");
    const auto end = std::find(rest.begin(), rest.end(), 0);
    if (end == rest.end()) throw MachOError("it ends within a name");
    return {reinterpret_cast<const char*>(rest.data()),
            static_cast<std::size_t>(end - rest.begin())};
}

std::uint8_t ByteReader::Byte() {
    const std::uint8_t byte = Part(bytes_, position_, 1, what_).front();
    ++position_;
    return byte;
}

std::uint64_t ByteReader::Unsigned() {
    std::uint64_t number = 0;
    for (unsigned shift = 0;; shift += 7) {
        const std::uint8_t byte = Byte();
        const std::uint64_t digits = byte & 0x7FU;
        if (shift > 63 || (digits << shift >> shift) != digits) FailAtNumber();
        number |= digits << shift;
        if ((byte & 0x80U) == 0) return number;
    }
}

std::int64_t ByteReader::Signed() {
    std::uint64_t number = 0;
    for (unsigned shift = 0;; shift += 7) {
        const std::uint8_t byte = Byte();
        const std::uint64_t digits = byte & 0x7FU;
        // Of the tenth byte one bit is left; the others repeat it as the sign.
        if (shift > 63 || (shift == 63 && digits != 0 && digits != 0x7F)) FailAtNumber();
        number |= digits << shift;
        if ((byte & 0x80U) != 0) continue;
        const unsigned end = shift + 7;
        if ((byte & 0x40U) != 0 && end < 64) number |= ~std::uint64_t{0} << end;
        return static_cast<std::int64_t>(number);
    }
}

std::string_view ByteReader::Text() {
    const std::string_view text = TextAt(bytes_, position_);
    position_ += text.size() + 1;
    return text;
}

void ByteReader::FailAtNumber() const {
    throw MachOError("a number in its " + std::string(what_) + " has more than 64 bits");
}

}  // namespace workbench::macho
