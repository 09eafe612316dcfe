// Calls made by declaration alone: what the called function receives, and what comes back.
#include "workbench/calling/invocation.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace workbench {
namespace {

REALpictureStruct receiverObject;
REALpictureStruct otherObject;
REALstringStruct stringObject;

std::tuple<REALpicture, REALinteger, double, REALboolean, REALpicture, REALstring> received;

REALpicture TakeEverything(REALpicture receiver, REALinteger integer, double real,
                           REALboolean boolean, REALpicture picture, REALstring string) {
    received = {receiver, integer, real, boolean, picture, string};
    return picture;
}

REALinteger TakeManyDoubles(REALpicture, double a, double b, double c, double d, double e, double f,
                            double g, double h, double i, REALinteger last) {
    return static_cast<REALinteger>(a + b + c + d + e + f + g + h + 10 * i) + last;
}

REALinteger SmallestInteger(REALpicture) {
    return std::numeric_limits<REALinteger>::min();
}
double Half(REALpicture) {
    return 0.5;
}
// Anything but 0 is true, in one byte; what stands in the register above it is not the result.
REALboolean OddTruth(REALpicture) {
    return -128;
}
REALboolean Untruth(REALpicture) {
    return 0;
}
void NoResult(REALpicture receiver) {
    received = {receiver, 0, 0, 0, nullptr, nullptr};
}
REALboolean Throwing(REALpicture) {
    throw std::runtime_error("out of a yield");
}

template <typename Function>
HostValue CallByDeclaration(Function* function, const char* declaration,
                            std::vector<HostValue> arguments = {}) {
    return Invoke(reinterpret_cast<REALfunction>(function), ParseDeclaration(declaration),
                  &receiverObject, arguments);
}

TEST(Invocation, EveryTypeArrivesAndThePictureComesBack) {
    const HostValue result = CallByDeclaration(
        TakeEverything,
        "F(i as integer, d as double, b as boolean, p as picture, s as string) as picture",
        {REALinteger{-1} << 40, -0.25, true, &otherObject, &stringObject});
    EXPECT_EQ(received, std::make_tuple(&receiverObject, REALinteger{-1} << 40, -0.25,
                                        REALboolean{1}, &otherObject, &stringObject));
    EXPECT_EQ(std::get<REALpicture>(result), &otherObject);
}

TEST(Invocation, NilPicturesAndFalseArrive) {
    const HostValue result = CallByDeclaration(
        TakeEverything,
        "F(extends ref as Picture, i as integer, d as double, b as boolean, p as picture, s as "
        "string) as picture",
        {REALinteger{0}, 0.0, false, REALpicture{}, REALstring{}});
    EXPECT_EQ(std::get<3>(received), 0);
    EXPECT_EQ(std::get<REALpicture>(result), nullptr);
}

TEST(Invocation, MoreArgumentsThanRegistersArrive) {
    const HostValue result =
        CallByDeclaration(TakeManyDoubles,
                          "F(a as double, b as double, c as double, d as double, e as "
                          "double, f as double, g as double, h as double, i as double, last "
                          "as integer) as integer",
                          {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, REALinteger{1000}});
    EXPECT_EQ(std::get<REALinteger>(result), 36 + 90 + 1000);
}

TEST(Invocation, ResultsOfEveryTypeComeBack) {
    EXPECT_EQ(std::get<REALinteger>(CallByDeclaration(SmallestInteger, "F as integer")),
              std::numeric_limits<REALinteger>::min());
    EXPECT_EQ(std::get<double>(CallByDeclaration(Half, "F as double")), 0.5);
    EXPECT_EQ(std::get<bool>(CallByDeclaration(OddTruth, "F as boolean")), true);
    EXPECT_EQ(std::get<bool>(CallByDeclaration(Untruth, "F as boolean")), false);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(CallByDeclaration(NoResult, "F")));
    EXPECT_EQ(std::get<0>(received), &receiverObject);
}

TEST(Invocation, ExceptionsOfTheHostPassThrough) {
    EXPECT_THROW(CallByDeclaration(Throwing, "F as boolean"), std::runtime_error);
}

TEST(Invocation, ArgumentsThatDoNotFitTheDeclarationAreRefused) {
    const char* const declaration = "F(width as integer) as integer";
    EXPECT_THROW(CallByDeclaration(SmallestInteger, declaration), std::invalid_argument);
    EXPECT_THROW(CallByDeclaration(SmallestInteger, declaration, {1.0}), std::invalid_argument);
    EXPECT_THROW(CallByDeclaration(SmallestInteger, declaration, {HostValue{}}),
                 std::invalid_argument);
    EXPECT_THROW(CallByDeclaration(SmallestInteger, "F(assigns value)", {HostValue{}}),
                 std::invalid_argument);
}

}  // namespace
}  // namespace workbench
