// Sixteen-byte vectors with SSE4.1 and SSSE3: bytes widen and move within a vector in one step.
#pragma once

#include <smmintrin.h>

#include "kernels/simd_sse2.h"

namespace zvk::kernels {
namespace {

// The byte positions from which sixteen bytes take the channels of their pixels; the fourth byte
// takes none and becomes 0. Those of the first pixel lie as `from` has it, those of each other one
// `step` bytes behind those of the pixel before it.
inline __m128i ShufflePattern(const ChannelOrder& from, const ChannelOrder& to,
                              int step = bytesPerPixelWord) {
    constexpr std::uint32_t none = 0x80;
    const std::uint32_t firstPixel =
        std::uint32_t{from.red} << (8U * to.red) | std::uint32_t{from.green} << (8U * to.green) |
        std::uint32_t{from.blue} << (8U * to.blue) | none << (8U * to.alpha);
    const int steps = 0x01010101 * step;
    return _mm_add_epi8(_mm_set1_epi32(static_cast<int>(firstPixel)),
                        _mm_setr_epi32(0, steps, 2 * steps, 3 * steps));
}

// The same where sixteen bytes are four reds, four greens and four blues.
inline __m128i ColourShufflePattern(const ChannelOrder& to) {
    return ShufflePattern({.red = 0, .green = 4, .blue = 8, .alpha = 12, .opaque = 0}, to, 1);
}

// The same where, of sixteen bytes, those at even places lie before those at odd places.
inline __m128i PartedShufflePattern(const ChannelOrder& from, const ChannelOrder& to) {
    const auto placeOf = [](int place) {
        return static_cast<std::uint8_t>(place % 2 * 8 + place / 2);
    };
    const ChannelOrder parted{.red = placeOf(from.red),
                              .green = placeOf(from.green),
                              .blue = placeOf(from.blue),
                              .alpha = placeOf(from.alpha),
                              .opaque = from.opaque};
    return ShufflePattern(parted, to, 2);
}

// The same where channels stay where they are.
inline __m128i PartedRestorationPattern(const ChannelOrder& order) {
    const __m128i none = _mm_set1_epi32(static_cast<int>(0x80U << (8U * order.alpha)));
    return _mm_or_si128(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15), none);
}

// Arrangements, made of one that takes its pattern, for pixels that lie in these other ways.
template <typename Shuffle>
class ColourShuffle : public Shuffle {
  public:
    explicit ColourShuffle(const ChannelOrder& to) : Shuffle(ColourShufflePattern(to), to) {}
};
template <typename Shuffle>
class PartedShuffle : public Shuffle {
  public:
    PartedShuffle(const ChannelOrder& from, const ChannelOrder& to)
        : Shuffle(PartedShufflePattern(from, to), to) {}
};
template <typename Shuffle>
class PartedRestorationShuffle : public Shuffle {
  public:
    explicit PartedRestorationShuffle(const ChannelOrder& order)
        : Shuffle(PartedRestorationPattern(order), order) {}
};

struct Sse41 : Sse2 {
    static __m128i LoadIntegers(const std::uint8_t* bytes) {
        int word = 0;
        __builtin_memcpy(&word, bytes, sizeof word);
        return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(word));
    }
    static Floats LoadBytes(const std::uint8_t* bytes) {
        return _mm_cvtepi32_ps(LoadIntegers(bytes));
    }

    struct WholeSums : Sse2::WholeSums {
        void Add(Bytes first, Bytes second, Bytes pairs) {
            low = _mm_add_epi16(low, _mm_maddubs_epi16(_mm_unpacklo_epi8(first, second), pairs));
            high = _mm_add_epi16(high, _mm_maddubs_epi16(_mm_unpackhi_epi8(first, second), pairs));
        }
    };

    static __m128i SumTwoBoxes(__m128i first, __m128i second) {
        return _mm_hadd_epi16(SumPairs(first), SumPairs(second));
    }
    // For each channel, the sums of the first and of the last two of four pixels.
    static __m128i SumPairs(__m128i pixels) {
        const __m128i byChannel =
            _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
        return _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, byChannel), _mm_set1_epi8(1));
    }

    // Keeps its numbers: some compilers make them anew for every sum.
    class PixelSummer {
      public:
        __m128i operator()(__m128i pixels) const {
            const __m128i pairs = _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, byChannel_), ones_);
            return _mm_madd_epi16(pairs, wordOnes_);
        }

      private:
        __m128i byChannel_ = _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
        __m128i ones_ = _mm_set1_epi8(1);
        __m128i wordOnes_ = _mm_set1_epi16(1);
    };

    static __m128i TransposeBytes(__m128i bytes) {
        return _mm_shuffle_epi8(
            bytes, _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    }
    static __m128i PairPixels(__m128i pixels) {
        return _mm_shuffle_epi8(
            pixels, _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    }

    class Arrangement {
      public:
        Arrangement(const ChannelOrder& from, const ChannelOrder& to)
            : Arrangement(ShufflePattern(from, to), to) {}

        Bytes operator()(Bytes pixels) const {
            return _mm_or_si128(_mm_shuffle_epi8(pixels, shuffle_), opaque_);
        }

      protected:
        Arrangement(__m128i shuffle, const ChannelOrder& to)
            : shuffle_(shuffle),
              opaque_(_mm_set1_epi32(static_cast<int>(OpaquePixel(to, 0, 0, 0)))) {}

      private:
        __m128i shuffle_;
        __m128i opaque_;
    };

    using ColourArrangement = ColourShuffle<Arrangement>;

    using PartedArrangement = PartedShuffle<Arrangement>;
    using PartedRestoration = PartedRestorationShuffle<Arrangement>;
};

}  // namespace
}  // namespace zvk::kernels
