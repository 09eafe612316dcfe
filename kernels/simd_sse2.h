// Sixteen-byte vectors of the baseline. Included by one file alone, with everything internal to it.
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "kernels/channel_order.h"
#include "kernels/quotient.h"

namespace zvk::kernels {
namespace {

// Bytes up to the next pixel of a row whose address is a multiple of `size`; `size` where there is
// none.
template <std::int64_t size>
std::int64_t BytesToMultiple(const std::uint8_t* row) {
    const auto address = reinterpret_cast<std::uintptr_t>(row);
    const auto bytes = static_cast<std::int64_t>(-address % size);
    return bytes % bytesPerPixelWord == 0 ? bytes : size;
}

struct Sse2 {
    using Floats = __m128;
    using Bytes = __m128i;
    using Mask = std::uint32_t;
    static constexpr std::int64_t floatCount = 4;
    static constexpr std::int64_t byteCount = 16;
    static constexpr Mask allLanes = 0xFFFF;
    // Whether numbers can be moved within a vector by their indices.
    static constexpr bool canPermute = false;

    static Floats Broadcast(float value) { return _mm_set1_ps(value); }
    static Floats Load(const float* values) { return _mm_loadu_ps(values); }
    static void Store(float* values, Floats floats) { _mm_storeu_ps(values, floats); }
    static Floats Add(Floats left, Floats right) { return _mm_add_ps(left, right); }
    static Floats Subtract(Floats left, Floats right) { return _mm_sub_ps(left, right); }
    static Floats Multiply(Floats left, Floats right) { return _mm_mul_ps(left, right); }
    // The same; wider vectors have units to spare for it.
    static Floats AddInMultiplier(Floats left, Floats right) { return Add(left, right); }
    static Floats SubtractInMultiplier(Floats left, Floats right) { return Subtract(left, right); }
    static Floats MultiplyAdd(Floats left, Floats right, Floats sum) {
        return _mm_add_ps(_mm_mul_ps(left, right), sum);
    }

    // The number where a value is below 0, else 0.
    static Floats WhereNegative(Floats values, float number) {
        return _mm_and_ps(_mm_cmplt_ps(values, _mm_setzero_ps()), _mm_set1_ps(number));
    }

    // Four bytes as integers and as numbers.
    static __m128i LoadIntegers(const std::uint8_t* bytes) {
        int word = 0;
        __builtin_memcpy(&word, bytes, sizeof word);
        const __m128i zero = _mm_setzero_si128();
        return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(word), zero), zero);
    }
    static Floats LoadBytes(const std::uint8_t* bytes) {
        return _mm_cvtepi32_ps(LoadIntegers(bytes));
    }

    // The weights of as many pixels as a vector holds, four times each.
    static Floats LoadWeights(const float* weights) { return _mm_set1_ps(*weights); }

    // As many pixels of four numbers each as a vector holds, named by their indices.
    static Floats LoadPixels(const float* pixels, const std::int32_t* indices) {
        return _mm_loadu_ps(pixels + std::int64_t{*indices} * bytesPerPixelWord);
    }

    // The bytes at one place of all pixels.
    static Floats Channel(Bytes pixels, int byte) {
        const __m128i values = _mm_srl_epi32(pixels, _mm_cvtsi32_si128(8 * byte));
        return _mm_cvtepi32_ps(_mm_and_si128(values, _mm_set1_epi32(255)));
    }

    // Whole numbers of 32 bits, which wrap: those that values truncate to, sums, what is left
    // without the lowest bits, one more where two are equal; and as bytes as below, clamped.
    static Bytes ToNumbers(Floats values) { return _mm_cvttps_epi32(values); }
    static Bytes AddNumbers(Bytes left, Bytes right) { return _mm_add_epi32(left, right); }
    template <int count>
    static Bytes ShiftNumbers(Bytes numbers) {
        return _mm_srli_epi32(numbers, count);
    }
    static Bytes AddOneWhereEqual(Bytes numbers, Bytes left, Bytes right) {
        return _mm_sub_epi32(numbers, _mm_cmpeq_epi32(left, right));
    }
    static Bytes PackNumbers(const Bytes (&numbers)[4]) {
        return _mm_packus_epi16(_mm_packs_epi32(numbers[0], numbers[1]),
                                _mm_packs_epi32(numbers[2], numbers[3]));
    }

    // Truncates and clamps four vectors to bytes, in order.
    static Bytes ToBytes(const Floats (&values)[4]) {
        return PackNumbers({ToNumbers(values[0]), ToNumbers(values[1]), ToNumbers(values[2]),
                            ToNumbers(values[3])});
    }

    // Stores past the caches where the place allows it, in no order until `EndStreams`.
    [[gnu::always_inline]] static void Stream(std::uint8_t* bytes, Bytes values) {
        if (reinterpret_cast<std::uintptr_t>(bytes) % sizeof values != 0) {
            StoreAll(bytes, values);
        } else {
            _mm_stream_si128(reinterpret_cast<__m128i*>(bytes), values);
        }
    }

    // The channel sums of four pixels.
    struct PixelSummer {
        __m128i operator()(__m128i pixels) const {
            return _mm_unpacklo_epi16(SumTwoBoxes(pixels, pixels), _mm_setzero_si128());
        }
    };

    // The channel sums of twice four pixels in 16 bits.
    static __m128i SumTwoBoxes(__m128i first, __m128i second) {
        const auto sumOf = [](__m128i pixels) {
            const __m128i zero = _mm_setzero_si128();
            const __m128i pairs =
                _mm_add_epi16(_mm_unpacklo_epi8(pixels, zero), _mm_unpackhi_epi8(pixels, zero));
            return _mm_add_epi16(pairs, _mm_srli_si128(pairs, 8));
        };
        return _mm_unpacklo_epi64(sumOf(first), sumOf(second));
    }

    // Sums of bytes times small whole weights, which stay below 2^15.
    struct WholeSums {
        __m128i low;
        __m128i high;

        void StartFrom(Bytes start) {
            low = start;
            high = start;
        }

        // Every pair has two weights below 128, the first in the lower byte.
        void Add(Bytes first, Bytes second, Bytes pairs) {
            const __m128i zero = _mm_setzero_si128();
            const __m128i firstWeights = _mm_and_si128(pairs, _mm_set1_epi16(255));
            const __m128i secondWeights = _mm_srli_epi16(pairs, 8);
            const auto products = [&](__m128i firstWords, __m128i secondWords) {
                return _mm_add_epi16(_mm_mullo_epi16(firstWords, firstWeights),
                                     _mm_mullo_epi16(secondWords, secondWeights));
            };
            low = _mm_add_epi16(
                low, products(_mm_unpacklo_epi8(first, zero), _mm_unpacklo_epi8(second, zero)));
            high = _mm_add_epi16(
                high, products(_mm_unpackhi_epi8(first, zero), _mm_unpackhi_epi8(second, zero)));
        }

        // The quotient's multiplier is repeated.
        Bytes Divided(Bytes multipliers, __m128i shift) const {
            return _mm_packus_epi16(_mm_srl_epi16(_mm_mulhi_epu16(low, multipliers), shift),
                                    _mm_srl_epi16(_mm_mulhi_epu16(high, multipliers), shift));
        }
    };
    static Bytes Repeat16(std::int32_t bits) {
        return _mm_set1_epi16(static_cast<std::int16_t>(bits));
    }
    static Bytes Repeat32(std::int32_t bits) { return _mm_set1_epi32(bits); }

    static Bytes InOrder(Bytes bytes) { return bytes; }
    static Mask Differing(Bytes left, Bytes right) {
        return allLanes & ~static_cast<Mask>(_mm_movemask_epi8(_mm_cmpeq_epi8(left, right)));
    }
    // The first where the mask of every pixel has bits, else the second.
    static Bytes Select(std::uint32_t mask, Bytes first, Bytes second) {
        const __m128i bits = _mm_set1_epi32(static_cast<int>(mask));
        return _mm_or_si128(_mm_and_si128(bits, first), _mm_andnot_si128(bits, second));
    }
    static Bytes LoadAll(const std::uint8_t* bytes) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    }
    static void StoreAll(std::uint8_t* bytes, Bytes values) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), values);
    }

    // Clamps the channels of four pixels to bytes.
    template <typename PixelAt>
    static __m128i PackPixels(PixelAt pixelAt) {
        return _mm_packus_epi16(_mm_packs_epi32(pixelAt(0), pixelAt(1)),
                                _mm_packs_epi32(pixelAt(2), pixelAt(3)));
    }

    // From four bytes of each of four to one byte of each.
    static __m128i TransposeBytes(__m128i bytes) {
        const __m128i halves = _mm_unpacklo_epi8(bytes, _mm_srli_si128(bytes, 8));
        return _mm_unpacklo_epi8(halves, _mm_srli_si128(halves, 8));
    }

    // The bytes of the first and the second of four pixels in turn, then those of the last two.
    static __m128i PairPixels(__m128i pixels) {
        const __m128i parted = _mm_shuffle_epi32(pixels, _MM_SHUFFLE(3, 1, 2, 0));
        return _mm_unpacklo_epi8(parted, _mm_srli_si128(parted, 8));
    }

    // Moves the channels of pixels from one order to another and makes the pixels opaque.
    class Arrangement {
      public:
        Arrangement(const ChannelOrder& from, const ChannelOrder& to)
            : opaque_(_mm_set1_epi32(static_cast<int>(OpaquePixel(to, 0, 0, 0)))) {
            const std::uint8_t sources[] = {from.red, from.green, from.blue};
            const std::uint8_t targets[] = {to.red, to.green, to.blue};
            for (int channel = 0; channel < 3; ++channel) {
                down_[channel] = _mm_cvtsi32_si128(8 * sources[channel]);
                up_[channel] = _mm_cvtsi32_si128(8 * targets[channel]);
            }
        }

        Bytes operator()(Bytes pixels) const {
            const __m128i byte = _mm_set1_epi32(255);
            __m128i result = opaque_;
            for (int channel = 0; channel < 3; ++channel) {
                const __m128i value = _mm_and_si128(_mm_srl_epi32(pixels, down_[channel]), byte);
                result = _mm_or_si128(result, _mm_sll_epi32(value, up_[channel]));
            }
            return result;
        }

      private:
        __m128i opaque_;
        __m128i down_[3];
        __m128i up_[3];
    };

    // The same for pixels that lie colour by colour: in every sixteen bytes, four reds, four greens
    // and four blues.
    class ColourArrangement {
      public:
        explicit ColourArrangement(const ChannelOrder& to)
            : arrange_({.red = 0, .green = 1, .blue = 2, .alpha = 3, .opaque = 0}, to) {}

        Bytes operator()(Bytes colours) const { return arrange_(TransposeBytes(colours)); }

      private:
        Arrangement arrange_;
    };

    // The same for pixels of which, in every sixteen bytes, those at even places lie before those
    // at odd places.
    class PartedArrangement {
      public:
        PartedArrangement(const ChannelOrder& from, const ChannelOrder& to) : arrange_(from, to) {}

        Bytes operator()(Bytes parted) const {
            return arrange_(_mm_unpacklo_epi8(parted, _mm_srli_si128(parted, 8)));
        }

      private:
        Arrangement arrange_;
    };

    // The same where channels stay where they are.
    class PartedRestoration {
      public:
        explicit PartedRestoration(const ChannelOrder& order)
            : opaque_(_mm_set1_epi32(static_cast<int>(OpaquePixel(order, 0, 0, 0)))),
              fourth_(_mm_set1_epi32(static_cast<int>(0xFFU << (8U * order.alpha)))) {}

        Bytes operator()(Bytes parted) const {
            const __m128i pixels = _mm_unpacklo_epi8(parted, _mm_srli_si128(parted, 8));
            return _mm_or_si128(_mm_andnot_si128(fourth_, pixels), opaque_);
        }

      private:
        __m128i opaque_;
        __m128i fourth_;
    };
};

}  // namespace
}  // namespace zvk::kernels
