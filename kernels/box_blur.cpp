// The scalar definition of the blur's rows.
//
// Exactness: whole numbers throughout. A box of d pixels sums to at most 255 d, which the caller
// keeps below 2^31; every quotient is truncated, never rounded. Sums wrap where a picture changed
// under them, and are clamped before they are divided.
#include "kernels/box_blur.h"

#include <algorithm>
#include <cstring>

#include "kernels/arithmetic.h"

namespace zvk::kernels {

namespace {

std::uint32_t Mean(std::int32_t sum, std::int32_t boxLength) {
    return static_cast<std::uint32_t>(std::clamp(sum, 0, 255 * boxLength) / boxLength);
}

void StorePixel(std::uint8_t* destination, std::uint32_t pixel) {
    std::memcpy(destination, &pixel, sizeof pixel);
}

// The sums of one box that slides along a row.
struct BoxSums {
    std::int32_t red = 0;
    std::int32_t green = 0;
    std::int32_t blue = 0;

    void Add(const std::uint8_t* pixel, const ChannelOrder& order, std::int32_t times) {
        red += times * pixel[order.red];
        green += times * pixel[order.green];
        blue += times * pixel[order.blue];
    }
};

// The sums of the box around the first pixel. The edge pixels stand for all that lies beyond them.
BoxSums FirstBox(const std::uint8_t* source, const ChannelOrder& order, std::int64_t width,
                 std::int32_t radius) {
    BoxSums sums;
    sums.Add(source, order, radius + 1);
    const std::int64_t inside = std::min<std::int64_t>(radius, width - 1);
    for (std::int64_t x = 1; x <= inside; ++x)
        sums.Add(source + x * bytesPerPixelWord, order, 1);
    const auto beyond = static_cast<std::int32_t>(radius - inside);
    sums.Add(source + (width - 1) * bytesPerPixelWord, order, beyond);
    return sums;
}

}  // namespace

void AddToColumns(const std::uint8_t* row, const ChannelOrder& order, std::int32_t times,
                  std::int64_t width, const ColumnSums& sums) {
    for (std::int64_t x = 0; x < width; ++x, row += bytesPerPixelWord) {
        sums.red[x] += times * row[order.red];
        sums.green[x] += times * row[order.green];
        sums.blue[x] += times * row[order.blue];
    }
}

void SlideColumns(const std::uint8_t* leaving, const std::uint8_t* entering,
                  const ChannelOrder& order, std::int64_t width, const ColumnSums& sums) {
    const auto slide = [](std::int32_t sum, std::uint8_t out, std::uint8_t in) {
        return WrappingAdd<std::int32_t>(WrappingSubtract<std::int32_t>(sum, out), in);
    };
    for (std::int64_t x = 0; x < width; ++x) {
        sums.red[x] = slide(sums.red[x], leaving[order.red], entering[order.red]);
        sums.green[x] = slide(sums.green[x], leaving[order.green], entering[order.green]);
        sums.blue[x] = slide(sums.blue[x], leaving[order.blue], entering[order.blue]);
        leaving += bytesPerPixelWord;
        entering += bytesPerPixelWord;
    }
}

void WriteColumnMeans(const ColumnSums& sums, std::int32_t boxLength, const ChannelOrder& order,
                      std::int64_t width, std::uint8_t* destination) {
    for (std::int64_t x = 0; x < width; ++x) {
        StorePixel(destination + x * bytesPerPixelWord,
                   OpaquePixel(order, Mean(sums.red[x], boxLength), Mean(sums.green[x], boxLength),
                               Mean(sums.blue[x], boxLength)));
    }
}

void BlurRow(const std::uint8_t* source, const ChannelOrder& sourceOrder, std::int64_t sourceWidth,
             std::int32_t radius, const ChannelOrder& order, std::int64_t width,
             std::uint8_t* destination) {
    const std::int32_t boxLength = 2 * radius + 1;
    const auto pixelAt = [&](std::int64_t x) {
        return source + std::clamp<std::int64_t>(x, 0, sourceWidth - 1) * bytesPerPixelWord;
    };
    BoxSums sums = FirstBox(source, sourceOrder, sourceWidth, radius);
    for (std::int64_t x = 0; x < width; ++x) {
        StorePixel(destination + x * bytesPerPixelWord,
                   OpaquePixel(order, Mean(sums.red, boxLength), Mean(sums.green, boxLength),
                               Mean(sums.blue, boxLength)));
        sums.Add(pixelAt(x + radius + 1), sourceOrder, 1);
        sums.Add(pixelAt(x - radius), sourceOrder, -1);
    }
}

}  // namespace zvk::kernels
