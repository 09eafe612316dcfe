// The list is built group by group. Layouts of pixels and contents take turns from case to case;
// their counts have no common divisor, so that all pairs of them occur.
#include "tests/golden/case_list.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace golden {
namespace {

constexpr int modeCount = 7;
constexpr std::array contents{Content::Noise, Content::Gradient, Content::Patches,
                              Content::TwoValued};

// All layouts of sources and of made pictures, many of them in pairs that differ.
constexpr std::array<Layouts, 13> turns{{{1, 1, false},
                                         {8, 8, false},
                                         {2, 5, false},
                                         {3, 6, false},
                                         {2, 2, false},
                                         {1, 1, true},
                                         {4, 3, false},
                                         {5, 4, false},
                                         {8, 8, false},
                                         {6, 2, false},
                                         {2, 2, true},
                                         {5, 5, false},
                                         {6, 1, false}}};

// One picture in every layout, and with an alpha channel: opaque results are to be alike.
constexpr std::array<Layouts, 9> eachLayout{{{1, 1, false},
                                             {2, 2, false},
                                             {3, 3, false},
                                             {4, 4, false},
                                             {5, 5, false},
                                             {6, 6, false},
                                             {8, 8, false},
                                             {1, 1, true},
                                             {2, 2, true}}};

struct SizePair {
    Size from;
    Size to;
};

class ListMaker {
  public:
    void ResampleEverySizeInEveryMode() {
        constexpr std::array<SizePair, 17> sizes{{{{61, 47}, {23, 19}},    // ragged, reducing
                                                  {{23, 19}, {61, 47}},    // ragged, enlarging
                                                  {{31, 22}, {31, 22}},    // 1:1
                                                  {{60, 44}, {30, 22}},    // 2:1
                                                  {{63, 45}, {21, 15}},    // 3:1
                                                  {{64, 48}, {16, 12}},    // 4:1
                                                  {{60, 45}, {40, 30}},    // 3:2
                                                  {{25, 18}, {50, 36}},    // 1:2
                                                  {{21, 15}, {63, 45}},    // 1:3
                                                  {{70, 20}, {33, 51}},    // one side grows
                                                  {{1, 1}, {7, 5}},        // from one pixel
                                                  {{7, 5}, {1, 1}},        // to one pixel
                                                  {{1, 40}, {40, 1}},      // one column, then row
                                                  {{40, 1}, {1, 40}},      // one row, then column
                                                  {{5, 300}, {9, 123}},    // tall
                                                  {{300, 5}, {123, 9}},    // wide
                                                  {{97, 3}, {98, 101}}}};  // hardly, and much
        for (int mode = 1; mode <= modeCount; ++mode) {
            for (const SizePair& size : sizes)
                Take(Resampling{mode, size.to}, size.from);
        }
    }

    void ScaleFast() {
        constexpr std::array<SizePair, 14> sizes{{{{61, 47}, {23, 19}},
                                                  {{23, 19}, {61, 47}},
                                                  {{31, 22}, {31, 22}},
                                                  {{60, 44}, {30, 22}},
                                                  {{63, 45}, {21, 15}},
                                                  {{64, 48}, {16, 12}},
                                                  {{60, 45}, {40, 30}},
                                                  {{21, 15}, {63, 45}},
                                                  {{70, 20}, {33, 51}},
                                                  {{1, 1}, {7, 5}},
                                                  {{7, 5}, {1, 1}},
                                                  {{5, 300}, {9, 123}},
                                                  {{300, 5}, {123, 9}},
                                                  {{700, 4}, {3, 2}}}};
        for (const SizePair& size : sizes)
            Take(Scaling{size.to, false, false}, size.from);
    }

    void ScaleSmoothly() {
        constexpr std::array<SizePair, 11> sizes{{{{23, 19}, {61, 47}},
                                                  {{25, 18}, {50, 36}},
                                                  {{21, 15}, {63, 45}},
                                                  {{16, 12}, {64, 48}},
                                                  {{40, 30}, {60, 45}},
                                                  {{1, 1}, {7, 5}},
                                                  {{1, 40}, {3, 41}},
                                                  {{40, 1}, {41, 60}},
                                                  {{5, 120}, {9, 300}},
                                                  {{120, 5}, {300, 9}},
                                                  {{30, 30}, {60, 29}}}};  // fast after all
        for (const SizePair& size : sizes)
            Take(Scaling{size.to, true, false}, size.from);
    }

    void ScaleWithMask() {
        for (const Size to : {Size{19, 13}, Size{53, 41}, Size{60, 15}}) {
            for (const bool smooth : {false, true}) {
                Take(Scaling{to, smooth, true}, {30, 22}, Size{30, 22});
                Take(Scaling{to, smooth, true}, {30, 22}, Size{11, 37});
                TakeIn(eachLayout[6], Scaling{to, smooth, true}, {30, 22}, Size{30, 22});
                TakeIn(eachLayout[7], Scaling{to, smooth, true}, {30, 22});
                TakeIn(eachLayout[8], Scaling{to, smooth, true}, {30, 22});
                TakeIn({8, 8, true}, Scaling{to, smooth, true}, {30, 22});
            }
        }
        Take(Scaling{{19, 13}, false, true}, {30, 22});
        Take(Scaling{{53, 41}, true, true}, {30, 22});
    }

    void Blur() {
        for (const double radius : {1.0, 2.0, 10.0, 63.0, 100.0, 129.0, 1000.0}) {
            for (const Size size : {Size{50, 40}, Size{131, 7}, Size{7, 131}, Size{300, 150}})
                Take(Blurring{radius}, size);
        }
        Take(Blurring{1.75}, {50, 40});
        Take(Blurring{3.0}, {1, 1});
        Take(Blurring{0.5}, {20, 10});
    }

    void Draw() {
        constexpr Size receiver{48, 36};
        constexpr Size picture{20, 17};
        const std::vector<Drawing> drawings = {
            {3.0, 5.0, 1.0, receiver},     {10.25, 4.5, 1.0, receiver},
            {10.0, 4.5, 1.0, receiver},    {10.25, 4.0, 1.0, receiver},
            {7.125, 9.875, 0.5, receiver}, {-6.5, -3.25, 1.0, receiver},
            {40.5, 30.75, 0.75, receiver}, {-0.0625, 20.5, 0.25, receiver},
            {100.0, 3.0, 1.0, receiver},   {3.0, -40.5, 1.0, receiver},
            {5.5, 6.5, 0.0, receiver},     {5.0, 6.0, 0.5, receiver},
            {2.3, 1.7, 1.5, receiver},     {2.3, 1.7, -0.5, receiver},
            {4.1, 2.9, 0.3, {20, 17}},     {-3.6, -2.2, 1.0, {5, 4}},
            {0.5, 0.5, 1.0, {1, 1}}};
        for (const Drawing& drawing : drawings) {
            Take(drawing, picture);
            Take(drawing, picture, picture);
            Take(drawing, picture, Size{9, 25});
        }
    }

    void EveryLayout() {
        for (const Layouts& layouts : eachLayout) {
            TakeAlike(layouts, Content::Noise, Resampling{1, {17, 41}}, {37, 29});
            TakeAlike(layouts, Content::Gradient, Resampling{7, {17, 41}}, {37, 29});
            TakeAlike(layouts, Content::Noise, Scaling{{17, 13}, false, false}, {37, 29});
            TakeAlike(layouts, Content::Patches, Scaling{{58, 41}, true, false}, {37, 29});
            TakeAlike(layouts, Content::TwoValued, Blurring{4.0}, {37, 29});
            TakeAlike(layouts, Content::Noise, Drawing{6.5, 3.75, 0.8, {48, 36}}, {37, 29});
        }
    }

    // At every point, whatever the clock; every tick; every millisecond. The same calls without an
    // interval come last: its checksums are to be those of the others.
    void WithYields() {
        constexpr Size from{41, 31};
        for (const std::int64_t interval : {std::numeric_limits<std::int64_t>::min(),
                                            std::int64_t{1}, std::int64_t{-1}, std::int64_t{0}}) {
            yield_ = interval;
            const Layouts layouts = interval == 1 ? eachLayout[3] : eachLayout[6];
            for (int mode = 1; mode <= modeCount; ++mode)
                TakeAlike(layouts, Content::Noise, Resampling{mode, {25, 55}}, from);
            TakeAlike(layouts, Content::Noise, Scaling{{25, 15}, false, false}, from);
            TakeAlike(layouts, Content::Noise, Scaling{{60, 40}, true, false}, from);
            TakeAlike(layouts, Content::Patches, Scaling{{60, 40}, true, true}, from, from);
            TakeAlike(layouts, Content::TwoValued, Blurring{5.0}, from);
            TakeAlike(layouts, Content::Noise, Drawing{6.5, 3.75, 0.8, {48, 36}}, from, from);
        }
    }

    void Large() {
        for (const int mode : {1, 3, 6})
            Take(Resampling{mode, {1920, 1440}}, {640, 480});
        for (const int mode : {2, 4, 7})
            Take(Resampling{mode, {333, 250}}, {1000, 750});
        Take(Resampling{5, {801, 599}}, {640, 480});
        Take(Scaling{{333, 250}, false, false}, {1000, 750});
        Take(Scaling{{1500, 1000}, true, false}, {640, 480});
        Take(Blurring{10.0}, {640, 480});
        Take(Blurring{100.0}, {640, 480});
        Take(Drawing{20.25, 30.5, 1.0, {800, 600}}, {640, 480});
        Take(Drawing{20.25, 30.5, 0.6, {800, 600}}, {640, 480}, Size{640, 480});
    }

    std::vector<Case> Made() && { return std::move(cases_); }

  private:
    // The next layouts in turn, or the next without an alpha channel, which masks do not go with.
    const Layouts& NextLayouts(bool masked) {
        const Layouts* layouts = &turns[turn_++ % turns.size()];
        while (masked && layouts->alphaChannel)
            layouts = &turns[turn_++ % turns.size()];
        return *layouts;
    }

    void Add(const Layouts& layouts, Content content, const Call& call, Size size,
             std::optional<Size> mask, std::uint64_t seed) {
        cases_.push_back({.number = static_cast<int>(cases_.size()) + 1,
                          .call = call,
                          .yield = yield_,
                          .layouts = layouts,
                          .size = size,
                          .mask = mask,
                          .content = content,
                          .seed = seed});
    }

    // A picture of its own for the case.
    void TakeIn(const Layouts& layouts, const Call& call, Size size,
                std::optional<Size> mask = std::nullopt) {
        const std::size_t index = cases_.size();
        Add(layouts, contents[index % contents.size()], call, size, mask, index + 1);
    }

    void Take(const Call& call, Size size, std::optional<Size> mask = std::nullopt) {
        TakeIn(NextLayouts(mask.has_value()), call, size, mask);
    }

    // The picture that other cases have too.
    void TakeAlike(const Layouts& layouts, Content content, const Call& call, Size size,
                   std::optional<Size> mask = std::nullopt) {
        constexpr std::uint64_t sharedSeed = 7777;
        Add(layouts, content, call, size, mask, sharedSeed);
    }

    std::vector<Case> cases_;
    std::int64_t yield_ = 0;
    std::size_t turn_ = 0;
};

std::vector<Case> MakeCases() {
    ListMaker maker;
    // Twice: the second time with other contents and layouts.
    maker.ResampleEverySizeInEveryMode();
    maker.ResampleEverySizeInEveryMode();
    maker.ScaleFast();
    maker.ScaleSmoothly();
    maker.ScaleWithMask();
    maker.Blur();
    maker.Draw();
    maker.EveryLayout();
    maker.WithYields();
    maker.Large();
    return std::move(maker).Made();
}

}  // namespace

const std::vector<Case>& AllCases() {
    static const std::vector<Case> cases = MakeCases();
    return cases;
}

}  // namespace golden
