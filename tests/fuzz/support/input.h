// Decisions made from the bytes of one input, first to last. An input that is used up goes on as
// zeros, so every input is a case, and a longer one changes nothing that was decided before.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace fuzz {

class Input {
  public:
    explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::uint8_t Byte() {
        if (bytes_.empty()) return 0;
        const std::uint8_t byte = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return byte;
    }

    bool Flag() { return (Byte() & 1U) != 0; }

    /// A number from 0 up to, not including, `count`, which is at most 256.
    int Below(int count) { return Byte() % count; }

    /// A number from `lowest` to `highest`, which lie at most 255 apart.
    int Between(int lowest, int highest) { return lowest + Below(highest - lowest + 1); }

    template <typename T, std::size_t count>
    T OneOf(const std::array<T, count>& choices) {
        static_assert(count <= 256);
        return choices.at(static_cast<std::size_t>(Below(static_cast<int>(count))));
    }

    /// Eight bytes as a number.
    std::uint64_t Word() {
        std::uint64_t word = 0;
        for (unsigned shift = 0; shift < 64; shift += 8)
            word |= std::uint64_t{Byte()} << shift;
        return word;
    }

    /// Eight bytes as the bits of a number, which may be none.
    double Real() {
        const std::uint64_t word = Word();
        double value = 0;
        std::memcpy(&value, &word, sizeof value);
        return value;
    }

    /// What has not been used yet.
    std::span<const std::uint8_t> Rest() const { return bytes_; }

  private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace fuzz
