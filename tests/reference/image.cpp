// The seven pixel layouts, written out one by one.
#include "tests/reference/image.h"

#include <cstdint>

namespace reference {

Colour Decode(std::uint32_t word, int format) {
    switch (format) {
        case 1:
        case 3:
        case 5:
            return {word & 255U, (word >> 8U) & 255U, (word >> 16U) & 255U};
        case 2:
        case 4:
        case 6:
            return {(word >> 8U) & 255U, (word >> 16U) & 255U, word >> 24U};
        case 8:
            return {(word >> 16U) & 255U, (word >> 8U) & 255U, word & 255U};
        default:
            return {};
    }
}

std::uint32_t EncodeOpaque(const Colour& colour, int format) {
    switch (format) {
        case 1:
        case 3:
        case 5:
            return 0xFF000000U | colour.blue << 16U | colour.green << 8U | colour.red;
        case 2:
        case 4:
        case 6:
            return colour.blue << 24U | colour.green << 16U | colour.red << 8U | 0xFFU;
        default:
            return colour.red << 16U | colour.green << 8U | colour.blue;
    }
}

}  // namespace reference
