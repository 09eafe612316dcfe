// Draws the parts of the test chart by their formulas. Shapes are sampled finer than the pixels,
// so that their edges are as smooth as a picture can hold.
#include "workbench/reports/test_chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string>

#include "workbench/reports/contact_sheet.h"
#include "workbench/reports/lettering.h"

namespace workbench {
namespace {

using std::numbers::pi;

struct Rgb {
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
};

constexpr Rgb white{255, 255, 255};
constexpr Rgb ink{20, 24, 32};
constexpr Rgb red{214, 40, 40};
constexpr Rgb blue{30, 90, 200};

int Word(const Rgb& color) {
    const auto channel = [](double value) { return static_cast<int>(std::lround(value)); };
    return gdTrueColor(channel(color.red), channel(color.green), channel(color.blue));
}

// Each pixel is the mean of a grid of samples of the shape, in units of the picture's side.
template <typename Shape>
GdImage DrawShape(int size, const Shape& shape) {
    constexpr int grid = 8;
    GdImage image = NewImage(size, size, 0);
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            Rgb sum;
            for (int sample = 0; sample < grid * grid; ++sample) {
                const int sampleColumn = sample % grid;
                const int sampleRow = sample / grid;
                const double column = (x + (sampleColumn + 0.5) / grid) / size;
                const double row = (y + (sampleRow + 0.5) / grid) / size;
                const Rgb color = shape(column, row);
                sum.red += color.red / (grid * grid);
                sum.green += color.green / (grid * grid);
                sum.blue += color.blue / (grid * grid);
            }
            image->tpixels[y][x] = Word(sum);
        }
    }
    return image;
}

Rgb EdgesAt(double x, double y) {
    constexpr int spokes = 12;
    const double fromStar = std::hypot(x - 0.28, y - 0.29);
    const double fromDisc = std::hypot(x - 0.77, y - 0.28);
    if (fromStar < 0.25) {
        const double turn = (std::atan2(y - 0.29, x - 0.28) / pi + 1.0) / 2.0;
        return static_cast<int>(turn * 2 * spokes) % 2 == 0 ? ink : white;
    }
    if (fromDisc < 0.18) return fromDisc < 0.09 ? white : red;
    if (y > 0.62 && x < 0.5) return y - 0.62 > (x - 0.04) * 0.35 + 0.04 ? blue : white;
    if (y > 0.62) {
        const double line = std::fmod((x - 0.5) * 1.1 + (y - 0.62) * 0.2, 0.1);
        return line < 0.03 ? ink : white;
    }
    return white;
}

void Paste(gdImage& target, const GdImage& part, int x, int y) {
    gdImageAlphaBlending(&target, 0);
    gdImageCopy(&target, part.get(), x, y, 0, 0, part->sx, part->sy);
}

}  // namespace

GdImage DrawZonePlate(int size) {
    GdImage image = NewImage(size, size, 0);
    const double middle = (size - 1) / 2.0;
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const double square = (x - middle) * (x - middle) + (y - middle) * (y - middle);
            const double level = 127.5 + 127.5 * std::cos(pi * square / size);
            image->tpixels[y][x] = Word({level, level, level});
        }
    }
    return image;
}

GdImage DrawEdges(int size) {
    return DrawShape(size, EdgesAt);
}

GdImage DrawFineText(int width, int height) {
    static const std::array<std::string, 6> lines{
        "The quick brown fox jumps over the lazy dog.",
        "0123456789 +-*/= (){}[] <>&%#@",
        "Sphinx of black quartz, judge my vow.",
        "Hamburgefonstiv - Il1| O0Q S5 Z2",
        "\u00c4pfel, \u00fcber, ni\u00f1o, gar\u00e7on, \u0141\u00f3d\u017a",
        "Pack my box with five dozen liquor jugs."};
    GdImage image = NewImage(width, height, 0xFFFFFF);
    double points = 6.0;
    std::size_t next = 0;
    for (int y = 12; y < height; y += static_cast<int>(points * 1.9)) {
        DrawLine(*image, 4, y, lines.at(next % lines.size()),
                 {next % 4 == 3 ? Typeface::Mono : Typeface::Regular, points, Word(ink)});
        ++next;
        if (next % 2 == 0) points = std::min(points + 0.75, 11.0);
    }
    return image;
}

GdImage DrawRamps(int width, int height) {
    constexpr int bands = 6;
    GdImage image = NewImage(width, height, 0);
    for (int y = 0; y < height; ++y) {
        const int band = y * bands / height;
        for (int x = 0; x < width; ++x) {
            const double smooth = 255.0 * x / std::max(width - 1, 1);
            constexpr int steps = 16;
            const double stepped = std::floor(static_cast<double>(x) * steps / width) * 17.0;
            const std::array<Rgb, bands> colors{
                Rgb{smooth, smooth, smooth}, Rgb{stepped, stepped, stepped},
                Rgb{smooth, 0, 0},           Rgb{0, smooth, 0},
                Rgb{0, 0, smooth},           Rgb{smooth, 255 - smooth, 128}};
            image->tpixels[y][x] = Word(colors.at(static_cast<std::size_t>(band)));
        }
    }
    return image;
}

GdImage DrawTransparency(int size) {
    GdImage image = NewImage(size, size, gdTrueColorAlpha(255, 255, 255, gdAlphaTransparent));
    struct Disc {
        double x, y;
        Rgb color;
    };
    const std::array<Disc, 3> discs{
        {{0.36, 0.36, red}, {0.66, 0.40, {40, 160, 70}}, {0.48, 0.68, blue}}};
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            Rgb sum;
            double total = 0.0;
            for (const Disc& disc : discs) {
                const double distance =
                    std::hypot((x + 0.5) / size - disc.x, (y + 0.5) / size - disc.y);
                const double strength = std::clamp((0.32 - distance) / 0.22, 0.0, 1.0);
                sum.red += disc.color.red * strength;
                sum.green += disc.color.green * strength;
                sum.blue += disc.color.blue * strength;
                total += strength;
            }
            if (total <= 0.0) continue;
            const int opaque = Word({sum.red / total, sum.green / total, sum.blue / total});
            const double alpha = std::min(total, 1.0);
            const auto transparency = static_cast<int>(std::lround((1.0 - alpha) * gdAlphaMax));
            image->tpixels[y][x] = opaque | transparency << 24;
        }
    }
    return image;
}

GdImage DrawTestChart() {
    constexpr int half = 288;
    constexpr int width = 768;
    GdImage chart = NewImage(width, 2 * half, 0xFFFFFF);
    chart->saveAlphaFlag = 1;
    Paste(*chart, DrawZonePlate(half), 0, 0);
    Paste(*chart, DrawEdges(half), 0, half);
    Paste(*chart, DrawFineText(width - half, half - 60), half, 0);
    Paste(*chart, DrawRamps(width - half, 60), half, half - 60);
    Paste(*chart, DrawTransparency(half), half, half);
    Paste(*chart, DrawZonePlate(width - 2 * half), 2 * half, half);
    Paste(*chart, DrawTransparency(width - 2 * half - 96), 2 * half, 2 * half - 96);
    Paste(*chart, DrawEdges(96), width - 96, 2 * half - 96);
    return chart;
}

}  // namespace workbench
