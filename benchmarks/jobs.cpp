// The table of jobs with their goals. A new job is a line here.
// Goals are ratios to the fastest peer that does the same job, `fastestKnown` is what the fastest
// peer known needs in memcpys of the job's bytes.
#include "benchmarks/jobs.h"

#include <array>
#include <cstddef>

namespace bench {

namespace {

using PerMode = std::array<double, 7>;

constexpr PerMode Each(double value) {
    return {value, value, value, value, value, value, value};
}

// Resampling from one size to another in all seven modes, which the columns follow.
struct ResamplingRow {
    Size source;
    Size target;
    PerMode fastestKnown;
    PerMode avx512;
    PerMode avx2;
};

constexpr std::array resamplingRows{
    ResamplingRow{{4000, 3000},
                  {1000, 750},
                  {2.5, 2.0, 5.3, 16, 3.2, 3.2, 5.3},
                  {.55, .60, .62, .48, .82, .72, .65},
                  {.90, .90, .95, .75, 1.0, 1.0, .95}},
    ResamplingRow{{4000, 3000},
                  {1333, 1000},
                  {2.6, 2.0, 4.3, 13, 3.3, 3.4, 4.0},
                  {.88, .85, .82, .56, .92, .95, .92},
                  {1.0, 1.0, 1.0, .80, 1.0, 1.0, 1.0}},
    ResamplingRow{{2560, 1600},
                  {320, 200},
                  {1.9, 1.4, 5.3, 24, 4.4, 3.5, 9.5},
                  {.75, .70, .60, .40, .72, .70, .45},
                  {1.0, 1.0, 1.0, .70, 1.0, 1.0, 1.0}},
    ResamplingRow{{1000, 750},
                  {4000, 3000},
                  {2.4, 2.6, 5.6, 11, 4.0, 3.9, 5.0},
                  {.58, .45, .70, .66, .74, .58, .62},
                  Each(1.0)},
    ResamplingRow{{1920, 1080},
                  {1920, 1080},
                  {1, 1, 1, 1, 6, 1, 1},
                  {1.1, 1.1, 1.1, 1.1, .60, 1.1, 1.1},
                  {1.1, 1.1, 1.1, 1.1, 1.0, 1.1, 1.1}},
    ResamplingRow{{640, 480},
                  {1920, 1440},
                  {3.7, 5, 8, 19, 7, 8.6, 12},
                  {1.0, .50, .72, .66, .90, .95, .85},
                  {1.2, .80, 1.0, .90, 1.0, 1.0, 1.0}},
    ResamplingRow{{256, 256},
                  {64, 64},
                  {10, 7, 45, 120, 16, 16, 24},
                  {.85, .85, .44, .35, .82, .72, .72},
                  {1.0, 1.0, .70, .70, 1.0, 1.0, 1.0}},
};

constexpr Job Fast(Size source, Size target, Goal goal) {
    return {.task = Task::FastScaling, .source = source, .target = target, .goal = goal};
}

constexpr Job Smooth(Size source, Size target, Goal goal) {
    return {.task = Task::SmoothEnlargement, .source = source, .target = target, .goal = goal};
}

constexpr Job Blur(int radius, Size size, Goal goal) {
    return {.task = Task::Blur, .source = size, .target = size, .radius = radius, .goal = goal};
}

constexpr Job Draw(Size source, Size target, bool masked, Goal goal) {
    return {
        .task = Task::Drawing, .source = source, .target = target, .masked = masked, .goal = goal};
}

constexpr std::array otherJobs{
    Fast({4000, 3000}, {400, 300}, {.20, .25, 20}),
    Fast({4000, 3000}, {1999, 1499}, {.60, .70, 3}),
    Fast({256, 256}, {64, 64}, {.20, .25, 30}),
    Smooth({1000, 750}, {3000, 2250}, {1.0, 1.2, 2}),
    Smooth({64, 64}, {192, 192}, {1.3, 1.5, 7.5}),
    Blur(2, {1920, 1080}, {.45, .60}),
    Blur(10, {1920, 1080}, {.45, .60}),
    Blur(100, {1920, 1080}, {.40, .60}),
    Blur(2, {4000, 3000}, {.45, .60}),
    Blur(10, {4000, 3000}, {.45, .60}),
    Blur(100, {4000, 3000}, {.40, .60}),
    Draw({1000, 750}, {1920, 1080}, false, {.25, .35, 2.2}),
    Draw({1000, 750}, {1920, 1080}, true, {.85, 1.0, 1.8}),
    Draw({64, 64}, {128, 128}, false, {.45, .60, 10}),
};

Job InMode(const ResamplingRow& row, std::size_t index) {
    return {.task = Task::Resampling,
            .source = row.source,
            .target = row.target,
            .mode = static_cast<Mode>(index + 1),
            .goal = {row.avx512[index], row.avx2[index], row.fastestKnown[index]}};
}

}  // namespace

std::vector<Job> AllJobs() {
    std::vector<Job> jobs;
    for (const ResamplingRow& row : resamplingRows) {
        for (std::size_t index = 0; index < row.avx512.size(); ++index)
            jobs.push_back(InMode(row, index));
    }
    jobs.insert(jobs.end(), otherJobs.begin(), otherJobs.end());
    return jobs;
}

}  // namespace bench
