// DrawPictureFZVK byte for byte against the reference, in place and also where the pictures share
// their memory, and what it asks of its host.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/reference/fractional_drawing.h"
#include "tests/reference/image.h"
#include "tests/support/layouts.h"
#include "tests/support/pixels.h"
#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double infinity = std::numeric_limits<double>::infinity();

struct Placement {
    double x;
    double y;
    double alpha = 1.0;
};

std::ostream& operator<<(std::ostream& stream, const Placement& placement) {
    stream.precision(17);
    return stream << "at (" << placement.x << ", " << placement.y << "), alpha " << placement.alpha;
}

std::string Describe(const Placement& placement, std::uint64_t seed) {
    std::ostringstream text;
    text << placement << ", seed " << seed;
    return text.str();
}

// Draws by the plugin and by the reference and compares; the pictures share no memory.
void ExpectDrawn(Session& session, Picture& self, const Picture& picture,
                 const Placement& placement, const std::string& parameters) {
    reference::Image expected = ImageOf(self);
    reference::Image source = ImageOf(picture);
    const reference::Image sourceBefore = source;
    std::optional<reference::Image> mask;
    std::optional<reference::View> maskView;
    if (picture.Mask() != nullptr) {
        mask = ImageOf(*picture.Mask());
        maskView = reference::ViewOf(*mask);
    }
    reference::DrawFractionally(reference::ViewOf(expected), reference::ViewOf(source),
                                maskView ? &*maskView : nullptr, placement.x, placement.y,
                                placement.alpha);
    EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), placement.x, placement.y,
                                    placement.alpha))
        << parameters;
    ExpectPixels(expected, self, parameters);
    ExpectPixels(sourceBefore, picture, parameters + ", the picture drawn");
    if (mask) ExpectPixels(*mask, *picture.Mask(), parameters + ", its mask");
}

struct Case {
    Layouts layouts;  // of the picture drawn and of the picture drawn onto
    Size self;
    Size picture;
    std::optional<Size> mask;
    Placement placement;
    std::uint64_t seed;
};

void ExpectDrawnFromRandom(const Case& drawing) {
    Session session(GuardedHost(drawing.layouts));
    const auto self = session.Create(drawing.self.width, drawing.self.height);
    const auto picture = session.Create(SourceOptions(drawing.layouts, drawing.picture));
    Random random(drawing.seed);
    FillRandomly(*self, random);
    FillRandomly(*picture, random);
    Held<Picture> mask;
    if (drawing.mask) {
        PictureOptions options = Sized(drawing.mask->width, drawing.mask->height);
        if (drawing.layouts.source != workbench::consoleLayout) {
            options.layout = static_cast<int>(random.Between(1, 6));
        }
        mask = session.Create(options);
        FillRandomly(*mask, random);
        session.host().SetMask(*picture, &*mask);
    }
    std::ostringstream sizes;
    sizes << drawing.layouts << ", " << drawing.picture << " onto " << drawing.self;
    if (drawing.mask) sizes << ", mask " << *drawing.mask;
    ExpectDrawn(session, *self, *picture, drawing.placement,
                sizes.str() + ", " + Describe(drawing.placement, drawing.seed));
}

const std::vector<Placement> placements = {{0, 0},         {2, 1},           {0.5, 0},
                                           {0, 0.25},      {1.75, 2.5, 0.5}, {-0.25, -3.5},
                                           {-4.1, 0.9, 2}, {3.3, 3.3, -1},   {5.999, 0.001, .3},
                                           {100, 100},     {-100, 2},        {1.5, 1.5, 1.01}};

class DrawingBetweenLayouts : public ::testing::TestWithParam<Layouts> {};

TEST_P(DrawingBetweenLayouts, GivesTheReferencesBytes) {
    std::uint64_t seed = 2000;
    for (const Placement& placement : placements) {
        ExpectDrawnFromRandom({GetParam(), {11, 9}, {6, 5}, std::nullopt, placement, ++seed});
        // A picture with an alpha channel has no mask beside it.
        if (GetParam().alphaChannel) continue;
        ExpectDrawnFromRandom({GetParam(), {11, 9}, {6, 5}, Size{6, 5}, placement, ++seed});
    }
}

INSTANTIATE_TEST_SUITE_P(FractionalDrawing, DrawingBetweenLayouts,
                         ::testing::ValuesIn(AllLayouts()), ::testing::PrintToStringParamName());

TEST(FractionalDrawing, GivesTheReferencesBytesForRandomCases) {
    const std::vector<Layouts> layouts = AllLayouts();
    for (std::uint64_t seed = 2100; seed < 2500; ++seed) {
        Random random(seed);
        const auto side = [&] { return static_cast<int>(random.Between(1, 40)); };
        const auto coordinate = [&] { return 80.0 * random.Fraction() - 40.0; };
        Case drawing{};
        const auto layout = random.Between(0, static_cast<std::int64_t>(layouts.size()) - 1);
        drawing.layouts = layouts[static_cast<std::size_t>(layout)];
        drawing.self = {side(), side()};
        drawing.picture = {side(), side()};
        if (!drawing.layouts.alphaChannel && random.Word() % 2 == 0)
            drawing.mask = Size{side(), side()};
        drawing.placement = {coordinate(), coordinate(), 3.0 * random.Fraction() - 1.0};
        if (random.Word() % 2 == 0) drawing.placement.alpha = 1.0;
        if (random.Word() % 3 == 0) drawing.placement.x = std::floor(drawing.placement.x);
        if (random.Word() % 3 == 0) drawing.placement.y = std::floor(drawing.placement.y);
        drawing.seed = seed;
        ExpectDrawnFromRandom(drawing);
    }
}

TEST(FractionalDrawing, GivesTheReferencesBytesForLargePictures) {
    ExpectDrawnFromRandom(
        {{1, 1, false}, {640, 480}, {500, 400}, std::nullopt, {70.3, 33.9}, 2601});
    ExpectDrawnFromRandom(
        {{4, 2, false}, {640, 480}, {900, 700}, Size{900, 700}, {-99.5, -77.25, 0.7}, 2602});
    ExpectDrawnFromRandom({{8, 8, false}, {3000, 3}, {2999, 2}, std::nullopt, {0.5, 0.5}, 2603});
    ExpectDrawnFromRandom({{8, 8, false}, {3, 3000}, {2, 2999}, Size{2, 2999}, {0.5, 0.5}, 2604});
}

// Positions and opacities beyond all reason.

TEST(FractionalDrawing, GivesTheReferencesBytesForNumbersThatAreNone) {
    const std::vector<double> numbers = {std::nan(""),  infinity,       -infinity,     1e300,
                                         -1e300,        2147483647.0,   2147483647.5,  2147483648.0,
                                         -2147483648.0, -2147483648.5,  -2147483649.0, 4294967296.0,
                                         -4294967297.0, -2147483645.75, 1e-320,        -0.0};
    std::uint64_t seed = 2700;
    for (const bool masked : {false, true}) {
        const std::optional<Size> mask = masked ? std::optional(Size{4, 3}) : std::nullopt;
        for (const double number : numbers) {
            for (const Placement placement :
                 {Placement{number, 0.5}, {0.5, number}, {number, number}, {0.5, 1.5, number}}) {
                ExpectDrawnFromRandom({{3, 6, false}, {9, 7}, {4, 3}, mask, placement, ++seed});
            }
        }
    }
}

TEST(FractionalDrawing, DrawsOntoPicturesWithAnAlphaChannelAndMakesThemOpaque) {
    std::uint64_t seed = 2850;
    for (const int layout : {1, 2}) {
        for (const Placement& placement : placements) {
            Session session(GuardedHost({layout, layout, true}));
            PictureOptions options = Sized(11, 9);
            options.alphaChannel = true;
            const auto self = session.Create(options);
            const auto picture = session.Create(6, 5);
            Random random(++seed);
            FillRandomly(*self, random);
            FillRandomly(*picture, random);
            ExpectDrawn(session, *self, *picture, placement, Describe(placement, seed));
        }
    }
}

TEST(FractionalDrawing, WrapsSumsThatOverflow) {
    std::uint64_t seed = 2900;
    for (const double alpha : {1e7, -1e7, 8421504.5, 16843009.0, 1e9, 4.3e9, -4.3e9}) {
        for (const bool masked : {false, true}) {
            const std::optional<Size> mask = masked ? std::optional(Size{4, 3}) : std::nullopt;
            for (const Placement placement :
                 {Placement{1.5, 1.5, alpha}, {1, 1, alpha}, {0.3, 2.7, alpha}}) {
                ExpectDrawnFromRandom({{1, 1, false}, {9, 7}, {4, 3}, mask, placement, ++seed});
            }
        }
    }
}

// A weight of exactly 1 takes a sample as it is, whichever of the four it belongs to.
TEST(FractionalDrawing, TakesEachSampleWholeWhereItsWeightIsOne) {
    std::uint64_t seed = 3300;
    const double almostOneBelow = -1e-20;
    for (const Placement placement : {Placement{1, 1},
                                      {almostOneBelow, 1},
                                      {1, almostOneBelow},
                                      {almostOneBelow, almostOneBelow},
                                      {1.5, 1.5, 4.0},
                                      {1.5, 1, 2.0},
                                      {1, 1.5, 2.0}}) {
        ExpectDrawnFromRandom({{1, 2, false}, {40, 9}, {37, 6}, std::nullopt, placement, ++seed});
    }
}

// Fractions that a person writes down are where another order of the same products would fall on
// the other side of a whole number.
TEST(FractionalDrawing, KeepsTheOrderOfItsProducts) {
    Session session(Desktop());
    const auto ramp = session.Create(16, 16);
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            ramp->Put(x, y, workbench::Grey(static_cast<std::uint8_t>(16 * y + x)));
        }
    }
    const auto self = session.Create(17, 17);
    for (int x = 1; x < 20; ++x) {
        for (int y = 1; y < 20; ++y) {
            for (const double alpha : {0.3, 1.0 / 3.0, 0.4, 0.7, 0.8, 1.1}) {
                self->Fill(workbench::black);
                const Placement placement = {x / 20.0, y / 20.0, alpha};
                ExpectDrawn(session, *self, *ramp, placement, Describe(placement, 0));
            }
        }
    }
}

// Exact small cases.

Held<Picture> CreateRow(Session& session, const std::vector<std::uint8_t>& levels) {
    auto row = session.Create(static_cast<int>(levels.size()), 1);
    int column = 0;
    for (const std::uint8_t level : levels)
        row->Put(column++, 0, workbench::Grey(level));
    return row;
}

std::vector<int> LevelsOf(const Picture& picture) {
    std::vector<int> levels;
    for (int x = 0; x < picture.Width(); ++x)
        levels.push_back(picture.At(x, 0).red);
    return levels;
}

std::vector<int> LevelsAfterDrawing(const std::vector<std::uint8_t>& self,
                                    const std::vector<std::uint8_t>& picture,
                                    const Placement& placement) {
    Session session(Desktop());
    const auto destination = CreateRow(session, self);
    const auto source = CreateRow(session, picture);
    EXPECT_TRUE(session.DrawPicture(destination.Handle(), source.Handle(), placement.x, placement.y,
                                    placement.alpha));
    return LevelsOf(*destination);
}

TEST(FractionalDrawing, CopiesColoursAtWholePositionsAndForcesEveryFourthByte) {
    Session session(Desktop(3));
    const auto self = session.Create(20, 12);
    const auto picture = session.Create(4, 3);
    Random random(4);
    FillRandomly(*self, random);
    FillRandomly(*picture, random);
    const reference::Image before = ImageOf(*self);
    const reference::Image drawn = ImageOf(*picture);
    EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), 10.0, 5.0));
    for (int y = 0; y < 12; ++y) {
        for (int x = 0; x < 20; ++x) {
            const bool inside = x >= 10 && x < 14 && y >= 5 && y < 8;
            const std::uint32_t word = inside ? drawn.At(x - 10, y - 5) : before.At(x, y);
            EXPECT_EQ(self->Word(x, y), word | 0xFF000000U) << "column " << x << ", row " << y;
        }
    }
}

TEST(FractionalDrawing, SmearsAHalfPixelOffsetOverTwoNeighbours) {
    EXPECT_THAT(LevelsAfterDrawing({10, 10, 10, 10}, {101, 201}, {0.5, 0}),
                ElementsAre(50 + 5, 50 + 100, 100 + 5, 10));
}

TEST(FractionalDrawing, KeepsTheColoursUnderAnAlphaOfZero) {
    EXPECT_THAT(LevelsAfterDrawing({10, 20, 30}, {101, 201}, {0.5, 0, 0.0}),
                ElementsAre(10, 20, 30));
}

TEST(FractionalDrawing, TruncatesEachProductByItself) {
    EXPECT_THAT(LevelsAfterDrawing({0}, {255}, {0, 0, 0.5}), ElementsAre(127));
    EXPECT_THAT(LevelsAfterDrawing({255}, {255}, {0, 0, 0.5}), ElementsAre(254));
}

TEST(FractionalDrawing, TakesNothingOfTheDestinationUnderAnAlphaAboveOne) {
    EXPECT_THAT(LevelsAfterDrawing({200}, {50}, {0, 0, 2.0}), ElementsAre(100));
    EXPECT_THAT(LevelsAfterDrawing({200}, {200}, {0, 0, 2.0}), ElementsAre(255));
    // Half covered by an opacity of 1.5: a quarter of the destination is left.
    EXPECT_THAT(LevelsAfterDrawing({100, 100}, {40}, {0.5, 0, 1.5}), ElementsAre(30 + 25, 30 + 25));
}

TEST(FractionalDrawing, AmplifiesTheDestinationUnderANegativeAlpha) {
    EXPECT_THAT(LevelsAfterDrawing({100}, {50}, {0, 0, -1.0}), ElementsAre(200 - 50));
    EXPECT_THAT(LevelsAfterDrawing({10}, {200}, {0, 0, -1.0}), ElementsAre(0));
}

TEST(FractionalDrawing, FloorsNegativePositionsTowardMinusInfinity) {
    // A quarter pixel to the left: three quarters of each pixel and a quarter of the next one.
    EXPECT_THAT(LevelsAfterDrawing({0, 0, 0}, {100, 200, 40}, {-0.25, 0}),
                ElementsAre(75 + 50, 150 + 10, 30));
}

TEST(FractionalDrawing, SucceedsForAPictureThatLiesWhollyOutside) {
    EXPECT_THAT(LevelsAfterDrawing({1, 2, 3}, {100}, {50, 50}), ElementsAre(1, 2, 3));
    EXPECT_THAT(LevelsAfterDrawing({1, 2, 3}, {100}, {-1, 0}), ElementsAre(1, 2, 3));
}

TEST(FractionalDrawing, TakesNothingFromAPictureWithoutColumns) {
    Session session(Desktop());
    const auto self = session.Create(5, 6);
    const auto picture = session.Create(4, 3);
    self->Fill(workbench::Grey(90));
    picture->Fill(workbench::white);
    picture->Context()->width = 0;
    EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), 1.5, 1.5));
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(self->At(x, y), workbench::Grey(90)) << x << ", " << y;
    }
}

// Masks.

TEST(FractionalDrawing, HidesUnderAWhiteMaskAndShowsUnderABlackOne) {
    for (const bool isWhite : {false, true}) {
        Session session(Desktop());
        const auto self = session.Create(9, 7);
        const auto picture = session.Create(4, 3);
        const auto mask = session.Create(4, 3);
        Random random(5);
        FillRandomlyOpaque(*self, random);
        FillRandomlyOpaque(*picture, random);
        mask->Fill(isWhite ? workbench::white : workbench::black);
        session.host().SetMask(*picture, &*mask);
        reference::Image expected = ImageOf(*self);
        reference::Image source = ImageOf(*picture);
        if (!isWhite) {
            reference::DrawFractionally(reference::ViewOf(expected), reference::ViewOf(source),
                                        nullptr, 2.25, 1.5, 1.0);
        }
        EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), 2.25, 1.5));
        ExpectPixels(expected, *self, isWhite ? "a white mask" : "a black mask");
    }
}

TEST(FractionalDrawing, ReadsTheRedOfTheMaskAlone) {
    Session session(Desktop());
    const auto self = session.Create(2, 1);
    const auto picture = session.Create(2, 1);
    const auto mask = session.Create(2, 1);
    self->Fill(workbench::black);
    picture->Fill(workbench::white);
    mask->Put(0, 0, {0, 255, 255, 255});
    mask->Put(1, 0, {255, 0, 0, 255});
    session.host().SetMask(*picture, &*mask);
    EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), 0, 0));
    EXPECT_EQ(self->At(0, 0), workbench::white);
    EXPECT_EQ(self->At(1, 0), workbench::black);
}

// A row beyond the mask's height is its first row; a column beyond its width reads as 0.
TEST(FractionalDrawing, TakesAMaskThatIsSmallerThanThePicture) {
    std::uint64_t seed = 3000;
    for (const Size mask : {Size{6, 2}, Size{3, 5}, Size{2, 2}, Size{1, 1}, Size{9, 9}}) {
        for (const Layouts layouts : {Layouts{1, 1, false}, {6, 3, false}, {8, 8, false}}) {
            for (const Placement placement : {Placement{1, 1}, {1.5, 2.25, 0.75}, {-2.5, -1.5}}) {
                ExpectDrawnFromRandom({layouts, {11, 9}, {6, 5}, mask, placement, ++seed});
            }
        }
    }
}

// Pictures that share their memory. What was written is read again, in the order of the pixels.

struct Window {
    int column;
    int row;
    Size size;
};

reference::View ViewOf(reference::Image& image, const Window& window) {
    reference::View view{window.size.width, window.size.height, image.format, {}};
    for (int y = 0; y < window.size.height; ++y) {
        view.rows.push_back(reinterpret_cast<std::byte*>(&image.At(window.column, window.row + y)));
    }
    return view;
}

Held<Picture> CreateWindow(Session& session, const Picture& owner, const Window& window) {
    PictureOptions options = Sized(window.size.width, window.size.height);
    options.shares = workbench::SharedPixels{&owner, window.column, window.row};
    return session.Create(options);
}

class DrawingIntoSharedMemory : public ::testing::TestWithParam<Layouts> {};

TEST_P(DrawingIntoSharedMemory, DrawsAPictureOntoItself) {
    std::uint64_t seed = 3100;
    for (const Placement& placement : placements) {
        Session session(GuardedHost(GetParam()));
        const auto picture = session.Create(SourceOptions(GetParam(), {12, 9}));
        Random random(++seed);
        FillRandomly(*picture, random);
        reference::Image expected = ImageOf(*picture);
        const reference::View view = reference::ViewOf(expected);
        reference::DrawFractionally(view, view, nullptr, placement.x, placement.y, placement.alpha);
        EXPECT_TRUE(session.DrawPicture(picture.Handle(), picture.Handle(), placement.x,
                                        placement.y, placement.alpha));
        ExpectPixels(expected, *picture, Describe(placement, seed));
    }
}

TEST_P(DrawingIntoSharedMemory, DrawsOneWindowOfAPictureOntoAnother) {
    const std::vector<Window> windows = {{0, 0, {9, 7}}, {1, 0, {9, 7}}, {0, 1, {9, 7}},
                                         {3, 2, {9, 7}}, {2, 3, {5, 4}}, {0, 0, {14, 11}}};
    std::uint64_t seed = 3200;
    for (const Window& onto : windows) {
        for (const Window& from : windows) {
            for (const Placement placement : {Placement{0.5, 0.25}, {1, 1}, {-1.5, 0, 0.75}}) {
                Session session(GuardedHost(GetParam()));
                const auto owner = session.Create(SourceOptions(GetParam(), {14, 11}));
                Random random(++seed);
                FillRandomly(*owner, random);
                const auto self = CreateWindow(session, *owner, onto);
                const auto picture = CreateWindow(session, *owner, from);
                reference::Image expected = ImageOf(*owner);
                reference::DrawFractionally(ViewOf(expected, onto), ViewOf(expected, from), nullptr,
                                            placement.x, placement.y, placement.alpha);
                EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), placement.x,
                                                placement.y, placement.alpha));
                ExpectPixels(expected, *owner, Describe(placement, seed));
            }
        }
    }
}

TEST_P(DrawingIntoSharedMemory, DrawsThroughAMaskInTheMemoryDrawnOnto) {
    // The mask begins to the right of what is drawn onto, and to the left of it.
    const std::vector<std::pair<Window, Window>> ontoAndMask = {{{0, 0, {14, 11}}, {2, 1, {8, 6}}},
                                                                {{2, 1, {12, 10}}, {0, 1, {8, 6}}}};
    // The last ones read the mask where the pixel before has just been drawn.
    std::vector<Placement> overMask = placements;
    overMask.insert(overMask.end(), {{3.5, 0.25}, {3.25, 0.5, 0.9}, {-0.5, 0.25}, {0.5, 0.5, 0.9}});
    std::uint64_t seed = 3300;
    for (const auto& [onto, maskWindow] : ontoAndMask) {
        for (const Placement& placement : overMask) {
            Session session(GuardedHost(GetParam()));
            const auto owner = session.Create(SourceOptions(GetParam(), {14, 11}));
            const auto picture = session.Create(SourceOptions(GetParam(), {8, 6}));
            Random random(++seed);
            FillRandomly(*owner, random);
            FillRandomly(*picture, random);
            const auto self = CreateWindow(session, *owner, onto);
            const auto mask = CreateWindow(session, *owner, maskWindow);
            session.host().SetMask(*picture, &*mask);
            reference::Image expected = ImageOf(*owner);
            reference::Image source = ImageOf(*picture);
            const reference::View maskView = ViewOf(expected, maskWindow);
            reference::DrawFractionally(ViewOf(expected, onto), reference::ViewOf(source),
                                        &maskView, placement.x, placement.y, placement.alpha);
            EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), placement.x,
                                            placement.y, placement.alpha));
            ExpectPixels(expected, *owner, Describe(placement, seed));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(FractionalDrawing, DrawingIntoSharedMemory,
                         ::testing::Values(Layouts{1, 1, false}, Layouts{4, 4, false},
                                           Layouts{8, 8, false}),
                         ::testing::PrintToStringParamName());

TEST(FractionalDrawing, TakesAMaskWithoutRowsForABlackOne) {
    Session session(Desktop());
    const auto self = session.Create(7, 6);
    const auto picture = session.Create(4, 3);
    const auto mask = session.Create(4, 3);
    self->Fill(workbench::white);
    picture->Fill(workbench::black);
    mask->Fill(workbench::white);
    session.host().SetMask(*picture, &*mask);
    mask->Context()->height = 0;
    EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), 1, 1));
    for (int x = 1; x < 5; ++x)
        EXPECT_EQ(self->At(x, 2).red, 0) << x;
}

// What is asked of the host.

struct Pictures {
    Held<Picture> self;
    Held<Picture> picture;
    Held<Picture> mask;
};

Pictures CreatePictures(Session& session) {
    Pictures pictures{session.Create(6, 5), session.Create(4, 3), session.Create(4, 3)};
    session.host().SetMask(*pictures.picture, &*pictures.mask);
    return pictures;
}

TEST(FractionalDrawing, OpensTheMaskThenItselfThenThePicture) {
    Session session(Desktop());
    const Pictures pictures = CreatePictures(session);
    session.KeepTrace();
    EXPECT_TRUE(session.DrawPicture(pictures.self.Handle(), pictures.picture.Handle(), 0, 0));
    std::vector<std::string> locked;
    const auto& books = session.host().Books();
    for (const std::string& line : session.CallsOf(Service::REALLockPictureDescription)) {
        for (const auto* held : {&pictures.self, &pictures.picture, &pictures.mask}) {
            const std::string name = books.Name(held->Handle());
            if (line.find("(" + name + ",") != std::string::npos) locked.push_back(name);
        }
    }
    EXPECT_THAT(locked,
                ElementsAre(books.Name(pictures.mask.Handle()), books.Name(pictures.self.Handle()),
                            books.Name(pictures.picture.Handle())));
}

TEST(FractionalDrawing, GivesNoMaskToAPictureThatHasNone) {
    Session session(Desktop());
    const auto self = session.Create(6, 5);
    const auto picture = session.Create(4, 3);
    EXPECT_TRUE(session.DrawPicture(self.Handle(), picture.Handle(), 0, 0));
    EXPECT_EQ(picture->Mask(), nullptr);
}

// The mask is opened as if it were to be written: deliberate, and seen by its cache alone.
TEST(FractionalDrawing, ClearsTheCachesOfWhatItOpenedForWriting) {
    Session session(Desktop());
    const Pictures pictures = CreatePictures(session);
    EXPECT_TRUE(session.DrawPicture(pictures.self.Handle(), pictures.picture.Handle(), 0, 0));
    EXPECT_EQ(pictures.self->CacheClears(), 1);
    EXPECT_EQ(pictures.mask->CacheClears(), 1);
    EXPECT_EQ(pictures.picture->CacheClears(), 0);
}

TEST(FractionalDrawing, YieldsOnceThenOncePerRowThenOnce) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        for (const std::int64_t yield : {1, -1}) {
            for (const double fraction : {0.0, 0.25}) {
                Session session(settings);
                session.YieldAlways();
                const Pictures pictures = CreatePictures(session);
                const auto draw = [&](std::int64_t yieldArgument) {
                    return session.DrawPicture(pictures.self.Handle(), pictures.picture.Handle(),
                                               fraction, fraction, 1.0, yieldArgument);
                };
                EXPECT_TRUE(draw(0));
                EXPECT_EQ(session.Yields(), 0U) << "none for an argument of 0";
                EXPECT_TRUE(draw(yield));
                EXPECT_EQ(session.Yields(), 1U + 5U + 1U);
            }
        }
    }
}

TEST(FractionalDrawing, DrawsOneRowBetweenTwoYields) {
    for (const double fraction : {0.0, 0.25}) {
        Session session(Desktop());
        session.YieldAlways();
        const auto self = session.Create(3, 4);
        const auto picture = session.Create(3, 4);
        self->Fill(workbench::black);
        picture->Fill(workbench::Grey(64));
        std::uint64_t yields = 0;
        session.host().OnYield([&] {
            if (++yields == 3) picture->Fill(workbench::Grey(128));
        });
        EXPECT_TRUE(
            session.DrawPicture(self.Handle(), picture.Handle(), fraction, fraction, 1.0, 1));
        // With a fraction, the first row takes nothing from above and keeps as much of its black.
        EXPECT_EQ(self->At(1, 0), workbench::Grey(fraction == 0.0 ? 64 : 48));
        EXPECT_EQ(self->At(1, 1), workbench::Grey(64));
        EXPECT_EQ(self->At(1, 2), workbench::Grey(128));
        EXPECT_EQ(self->At(1, 3), workbench::Grey(128));
    }
}

TEST(FractionalDrawing, ChangesNothingWhereAPictureCannotBeOpened) {
    const std::vector<std::function<void(const Pictures&)>> refusals = {
        [](const Pictures& pictures) { pictures.mask->refusesLocks = true; },
        [](const Pictures& pictures) { pictures.self->refusesLocks = true; },
        [](const Pictures& pictures) { pictures.picture->Context()->data = nullptr; },
        [](const Pictures& pictures) { pictures.mask->typeCode = 0; },
        [](const Pictures& pictures) { pictures.mask->typeCode = 1; },
        [](const Pictures& pictures) { pictures.mask->typeCode = 3; },
        [](const Pictures& pictures) { pictures.self->typeCode = 0; },
        [](const Pictures& pictures) { pictures.self->typeCode = 1; },
        [](const Pictures& pictures) { pictures.self->typeCode = 3; },
    };
    for (const auto& refuse : refusals) {
        Session session(Desktop());
        session.YieldAlways();
        const Pictures pictures = CreatePictures(session);
        Random random(6);
        FillRandomly(*pictures.self, random);
        const reference::Image before = ImageOf(*pictures.self);
        refuse(pictures);
        EXPECT_FALSE(
            session.DrawPicture(pictures.self.Handle(), pictures.picture.Handle(), 0, 0, 1.0, 1));
        ExpectPixels(before, *pictures.self, "a picture that cannot be opened");
        EXPECT_EQ(session.Yields(), 0U);
        EXPECT_EQ(session.host().TakeException(), std::nullopt);
        EXPECT_EQ(session.host().Books().References(pictures.mask.Handle()), 2);
    }
}

TEST(FractionalDrawing, LocksNothingOfATypeThatItCannotWrite) {
    Session session(Desktop());
    const auto self = session.Create(6, 5);
    const auto picture = session.Create(4, 3);
    self->typeCode = 3;
    session.KeepTrace();
    EXPECT_FALSE(session.DrawPicture(self.Handle(), picture.Handle(), 0, 0));
    EXPECT_THAT(session.CallsOf(Service::REALLockPictureDescription), IsEmpty());
}

TEST(FractionalDrawing, DrawsACopyOfAPictureThatCannotBeLocked) {
    Session session(Desktop());
    const auto self = session.Create(9, 7);
    const auto picture = session.Create(4, 3);
    const auto mask = session.Create(4, 3);
    Random random(7);
    FillRandomly(*self, random);
    FillRandomlyOpaque(*picture, random);
    FillRandomlyOpaque(*mask, random);
    session.host().SetMask(*picture, &*mask);
    picture->refusesLocks = true;
    ExpectDrawn(session, *self, *picture, {1.5, 2.25, 0.9}, "through its mask, from a copy");
    ASSERT_NE(picture->Mask(), nullptr);
    EXPECT_EQ(picture->Mask()->Handle(), mask.Handle());
}

TEST(FractionalDrawing, AsksForNoMemory) {
    Session session(Desktop());
    const Pictures pictures = CreatePictures(session);
    session.allocations().FailFrom(1);
    EXPECT_TRUE(session.DrawPicture(pictures.self.Handle(), pictures.picture.Handle(), 0.5, 0.5));
    EXPECT_EQ(session.allocations().Requests(), 0U);
}

}  // namespace
}  // namespace contract
