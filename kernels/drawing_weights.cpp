// Scaled weights and weight tables.
//
// Why there is a multiplier for almost every weight w below 1: trunc(c w) is the same for all w
// between two neighbouring fractions with denominators up to 255, and such neighbours are at least
// 1 / (255 * 254) apart (Farey sequence), more than the 1 / 65536 between two multipliers. So one
// of the two multiples of 1 / 65536 next to w lies in the same interval. Only next to such a
// fraction may products round to a whole number for one value and not for another, and then there
// is none; so all values from 128 on are tried. A smaller one is right if twice the value is:
// doubling a product rounds nothing, and floor(x) is half of floor(2 x), rounded down.
//
// Most weights are tried in whole numbers. Let w be m 2^-16 + d 2^-32 and less than 2^-32 more, p
// be c m modulo 2^16, and q be c d 2^-16, rounded down. In units of 2^-16, c w is then p + q above
// a whole number, the one that c m truncates to, and less than 1 + 255 / 65536 more. So it
// truncates to the next one where p + q is at least 65536, and m is wrong; then m + 1 is right.
// Where p + q is 65535 it may or may not, and rounding may decide; then products themselves are
// tried.
#include "kernels/drawing_weights.h"

#include <emmintrin.h>

namespace zvk::kernels {

namespace {

inline constexpr std::int32_t firstValueTried = 128;

// Whether a weight's lower multiplier is right, and not the upper one; nothing if its digits do not
// tell.
std::optional<bool> IsLowerRight(double weight) {
    const auto digits = static_cast<std::uint32_t>(static_cast<std::int64_t>(weight * 0x1p32));
    const __m128i upper = _mm_set1_epi32(static_cast<int>((digits >> 16U) * 0x10001U));
    const __m128i lower = _mm_set1_epi32(static_cast<int>((digits & 0xFFFFU) * 0x10001U));
    const __m128i zero = _mm_setzero_si128();
    __m128i values =
        _mm_add_epi16(_mm_set1_epi16(firstValueTried), _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7));
    __m128i reached = zero;
    __m128i doubts = zero;
    for (std::int32_t value = firstValueTried; value < 256; value += 8) {
        // What p lacks of 65535, and by how much q is more.
        const __m128i lacks = _mm_xor_si128(_mm_mullo_epi16(values, upper), _mm_set1_epi16(-1));
        const __m128i parts = _mm_mulhi_epu16(values, lower);
        reached = _mm_or_si128(reached, _mm_subs_epu16(parts, lacks));
        doubts = _mm_or_si128(doubts, _mm_cmpeq_epi16(parts, lacks));
        values = _mm_add_epi16(values, _mm_set1_epi16(8));
    }
    if (_mm_movemask_epi8(doubts) != 0) return std::nullopt;
    return _mm_movemask_epi8(_mm_cmpeq_epi16(reached, zero)) == 0xFFFF;
}

// Without an early exit, which would cost more than it saves where the loop runs in vectors.
bool ScalesAllBytes(double weight, std::uint32_t multiplier) {
    std::int32_t differences = 0;
    for (std::int32_t value = firstValueTried; value < 256; ++value)
        differences |= (value * static_cast<std::int32_t>(multiplier) >> 16) ^
                       static_cast<std::int32_t>(value * weight);
    return differences == 0;
}

// The scaled form of what is left to the destination. It adds nothing unless it is above 0.
std::optional<ScaledWeight> ScaleRest(double remaining) {
    return ScaleWeight(remaining > 0.0 ? remaining : 0.0);
}

// At an end all may remain where nothing else is 1; kernels that multiply by 1 take longer.
std::optional<ScaledWeight> ScaleEndRest(double remaining) {
    const auto scaled = ScaleRest(remaining);
    return scaled && !scaled->IsOne() ? scaled : std::nullopt;
}

struct ScaledSamples {
    ScaledWeight topLeft;
    ScaledWeight topRight;
    ScaledWeight bottomRight;
    ScaledWeight bottomLeft;
};

// What remains is subtracted from in the order of the samples.
std::optional<PlainWeights> WithRests(const ScaledSamples& scaled, const SampleWeights& weights) {
    const auto rest = ScaleRest(
        (((1.0 - weights.topLeft) - weights.topRight) - weights.bottomRight) - weights.bottomLeft);
    if (!rest) return std::nullopt;
    return PlainWeights{.topLeft = scaled.topLeft,
                        .topRight = scaled.topRight,
                        .bottomRight = scaled.bottomRight,
                        .bottomLeft = scaled.bottomLeft,
                        .rest = *rest,
                        .leftRest = ScaleEndRest((1.0 - weights.topRight) - weights.bottomRight),
                        .rightRest = ScaleEndRest((1.0 - weights.topLeft) - weights.bottomLeft)};
}

}  // namespace

std::optional<ScaledWeight> ScaleWeight(double weight) {
    if (!(weight >= 0.0 && weight <= 1.0)) return std::nullopt;
    const auto below = static_cast<std::uint32_t>(weight * 65536.0);
    if (below == weight * 65536.0) return ScaledWeight{below};
    if (const auto isLowerRight = IsLowerRight(weight))
        return ScaledWeight{*isLowerRight ? below : below + 1};
    for (const std::uint32_t multiplier : {below, below + 1}) {
        // 65536 would leave 128 as it is; no weight below 1 does.
        if (ScalesAllBytes(weight, multiplier)) return ScaledWeight{multiplier};
    }
    return std::nullopt;
}

PlainRows::PlainRows(const SampleWeights& weights) {
    const auto topLeft = ScaleWeight(weights.topLeft);
    const auto topRight = ScaleWeight(weights.topRight);
    const auto bottomRight = ScaleWeight(weights.bottomRight);
    const auto bottomLeft = ScaleWeight(weights.bottomLeft);
    constexpr ScaledWeight none{.multiplier = 0};
    if (topLeft && topRight && bottomRight && bottomLeft) {
        withBoth = WithRests({*topLeft, *topRight, *bottomRight, *bottomLeft}, weights);
    }
    if (topLeft && topRight) {
        withAbove = WithRests({*topLeft, *topRight, none, none},
                              {weights.topLeft, weights.topRight, 0.0, 0.0});
    }
    if (bottomRight && bottomLeft) {
        withBelow = WithRests({none, none, *bottomRight, *bottomLeft},
                              {0.0, 0.0, weights.bottomRight, weights.bottomLeft});
    }
}

void WeightTables::Fill(const SampleWeights& weights, bool isMasked) {
    topLeft[0] = weights.topLeft;
    topRight[0] = weights.topRight;
    bottomRight[0] = weights.bottomRight;
    bottomLeft[0] = weights.bottomLeft;
    if (!isMasked) return;
    for (int value = 0; value < 256; ++value) {
        topLeft[value] = MaskedWeight(value, weights.topLeft);
        topRight[value] = MaskedWeight(value, weights.topRight);
        bottomRight[value] = MaskedWeight(value, weights.bottomRight);
        bottomLeft[value] = MaskedWeight(value, weights.bottomLeft);
    }
}

}  // namespace zvk::kernels
