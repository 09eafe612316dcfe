// Makes the pictures, from a hash of the position so that every run sees the same ones.
// Called before anything is timed.
#include "benchmarks/picture_kinds.h"

#include <cstddef>
#include <cstdlib>

namespace bench {

namespace {

constexpr std::uint8_t opaque = 255;

// Mixes the bits of a number so that neighbours have nothing in common (the finaliser of
// MurmurHash3).
std::uint32_t Mixed(std::uint32_t value) {
    value ^= value >> 16U;
    value *= 0x85EBCA6BU;
    value ^= value >> 13U;
    value *= 0xC2B2AE35U;
    return value ^ (value >> 16U);
}

std::uint32_t HashOf(int x, int y, std::uint32_t variation) {
    return Mixed(static_cast<std::uint32_t>(x) + Mixed(static_cast<std::uint32_t>(y) + variation));
}

std::uint8_t NoiseAt(int x, int y, int channel, std::uint32_t variation) {
    return static_cast<std::uint8_t>(HashOf(x, y, variation) >>
                                     (8U * static_cast<unsigned>(channel)));
}

// Up and down between 0 and 255, four pixels per level.
std::uint8_t GradientAt(int x, int y, int channel, std::uint32_t variation) {
    constexpr int pixelsPerLevel = 4;
    constexpr int period = 510;
    const int along = channel == 0 ? x : channel == 1 ? y : (x + y) / 2;
    const int level = (along / pixelsPerLevel + static_cast<int>(variation) * 100) % period;
    return static_cast<std::uint8_t>(255 - std::abs(255 - level));
}

std::uint8_t FlatAt(int x, int y, int channel, std::uint32_t variation) {
    constexpr int patch = 48;
    const std::uint32_t hash = HashOf(x / patch, y / patch, variation);
    if (hash % 4 == 0) return 0;
    if (hash % 4 == 1) return 255;
    return static_cast<std::uint8_t>(hash >> (8U * static_cast<unsigned>(channel + 1)));
}

template <auto valueAt>
void FillBy(const Pixels& pixels, std::uint32_t variation) {
    for (int y = 0; y < pixels.size.height; ++y) {
        std::uint8_t* pixel = pixels.Row(y);
        for (int x = 0; x < pixels.size.width; ++x, pixel += 4) {
            for (int channel = 0; channel < 3; ++channel)
                pixel[channel] = valueAt(x, y, channel, variation);
            pixel[3] = opaque;
        }
    }
}

}  // namespace

std::string NameOf(PictureKind kind) {
    switch (kind) {
        case PictureKind::Noise:
            return "noise";
        case PictureKind::Gradient:
            return "gradient";
        case PictureKind::Flat:
            break;
    }
    return "flat";
}

void Fill(const Pixels& pixels, PictureKind kind, std::uint32_t variation) {
    switch (kind) {
        case PictureKind::Noise:
            return FillBy<NoiseAt>(pixels, variation);
        case PictureKind::Gradient:
            return FillBy<GradientAt>(pixels, variation);
        case PictureKind::Flat:
            return FillBy<FlatAt>(pixels, variation);
    }
}

}  // namespace bench
