// Draws the figure as SVG text: a line per job, on it a dot per level and a bar per goal, on a
// logarithmic axis on which 1 is the fastest peer.
#include "benchmarks/figure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "workbench/reports/text_line.h"

namespace bench {

namespace {

using workbench::Fixed;

constexpr double labelWidth = 300;
constexpr double axisWidth = 560;
constexpr double rowHeight = 16;
constexpr double headHeight = 56;
constexpr double lowest = 0.1;
constexpr double highest = 10;
// Light to dark, so that the highest level stands out.
constexpr std::array colours{"#c6c6c6", "#8da0cb", "#fc8d62", "#1b7f5c"};

double AcrossFor(double ratio) {
    const double clamped = std::clamp(ratio, lowest, highest);
    return labelWidth + axisWidth * std::log(clamped / lowest) / std::log(highest / lowest);
}

const char* ColourOf(std::size_t level) {
    return colours[std::min(level, colours.size() - 1)];
}

void Text(std::ostream& output, double x, double y, const char* anchor, const std::string& text) {
    output << "<text x='" << Fixed(x, 1) << "' y='" << Fixed(y, 1) << "' text-anchor='" << anchor
           << "'>" << text << "</text>\n";
}

void Dot(std::ostream& output, double x, double y, const char* colour) {
    output << "<circle cx='" << Fixed(x, 1) << "' cy='" << Fixed(y, 1) << "' r='4' fill='" << colour
           << "'/>\n";
}

void Mark(std::ostream& output, double x, double y, const char* colour) {
    constexpr double half = 6;
    output << "<line x1='" << Fixed(x, 1) << "' x2='" << Fixed(x, 1) << "' y1='" << y - half
           << "' y2='" << y + half << "' stroke-width='2' stroke='" << colour << "'/>\n";
}

void Axis(std::ostream& output, double bottom) {
    for (const double ratio : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0}) {
        const double x = AcrossFor(ratio);
        output << "<line x1='" << Fixed(x, 1) << "' x2='" << Fixed(x, 1) << "' y1='"
               << headHeight - 8 << "' y2='" << bottom << "' stroke='"
               << (ratio == 1.0 ? "#333" : "#ddd") << "'/>\n";
        Text(output, x, headHeight - 14, "middle", Fixed(ratio, 1));
    }
}

void Head(std::ostream& output, const std::vector<std::string>& levels) {
    constexpr double baseline = 18;
    constexpr double step = 90;
    Text(output, 8, baseline, "start", "time relative to the fastest peer; bars: goals");
    double x = labelWidth + axisWidth - step * static_cast<double>(levels.size());
    for (std::size_t index = 0; index < levels.size(); ++index) {
        Dot(output, x, baseline - 4, ColourOf(index));
        Text(output, x + 10, baseline, "start", levels[index]);
        x += step;
    }
}

void JobRow(std::ostream& output, const Outcome& outcome, const std::vector<std::string>& levels,
            double y) {
    Text(output, labelWidth - 10, y + 4, "end", NameOf(outcome.job));
    for (std::size_t index = 0; index < levels.size(); ++index) {
        if (const auto goal = GoalOf(outcome.job.goal, levels[index]))
            Mark(output, AcrossFor(*goal), y, ColourOf(index));
        const auto standing = StandingOf(outcome, levels[index]);
        if (standing && standing->ratio)
            Dot(output, AcrossFor(*standing->ratio), y, ColourOf(index));
    }
}

bool HasPeer(const Outcome& outcome, const std::vector<std::string>& levels) {
    const auto standing = StandingOf(outcome, levels.back());
    return standing && standing->ratio;
}

}  // namespace

void WriteFigure(std::ostream& output, const std::vector<Outcome>& outcomes,
                 const std::vector<std::string>& levels) {
    std::vector<Outcome> shown;
    std::copy_if(outcomes.begin(), outcomes.end(), std::back_inserter(shown),
                 [&levels](const Outcome& outcome) { return HasPeer(outcome, levels); });
    const double bottom = headHeight + rowHeight * static_cast<double>(shown.size());
    output << "<svg xmlns='http://www.w3.org/2000/svg' width='" << labelWidth + axisWidth + 40
           << "' height='" << bottom + 10 << "' font-family='sans-serif' font-size='11'>\n"
           << "<rect width='100%' height='100%' fill='white'/>\n";
    Axis(output, bottom);
    Head(output, levels);
    double y = headHeight + rowHeight / 2;
    for (const Outcome& outcome : shown) {
        JobRow(output, outcome, levels, y);
        y += rowHeight;
    }
    output << "</svg>\n";
}

}  // namespace bench
