// How calls are read and bound to declarations, and what a user is told about a wrong one.
#include "workbench/calling/call.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const Declaration& Scale() {
    static const Declaration declaration = ParseDeclaration(
        "Scale(width as integer, height as integer, Smooth as boolean=false, yield as "
        "integer=0) as picture");
    return declaration;
}

const Declaration& Draw() {
    static const Declaration declaration =
        ParseDeclaration("Draw(pic as picture, x as double, alpha as double = 1.0) as boolean");
    return declaration;
}

Literal Integer(std::int64_t value) {
    return value;
}

template <typename Action>
std::string ErrorOf(Action action) {
    try {
        action();
    } catch (const CallError& error) {
        return error.what();
    }
    return "no error";
}

std::string BindError(const Declaration& declaration, const std::string& text) {
    return ErrorOf([&] { BindArguments(declaration, ParseCall(text)); });
}

std::string ParseError(const std::string& text) {
    return ErrorOf([&] { ParseCall(text); });
}

Literal OnlyValue(const std::string& text) {
    return ParseCall("F(" + text + ")").arguments.at(0).value;
}

TEST(Calls, ConstantsOfEveryKindAreRead) {
    EXPECT_EQ(OnlyValue("640"), Integer(640));
    EXPECT_EQ(OnlyValue("-1"), Integer(-1));
    EXPECT_EQ(OnlyValue("+7"), Integer(7));
    EXPECT_EQ(OnlyValue("9223372036854775807"), Integer(std::numeric_limits<std::int64_t>::max()));
    EXPECT_EQ(OnlyValue("-9223372036854775808"), Integer(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(OnlyValue("10.25"), Literal(10.25));
    EXPECT_EQ(OnlyValue("1e3"), Literal(1000.0));
    EXPECT_EQ(OnlyValue("-.5"), Literal(-0.5));
    EXPECT_EQ(OnlyValue("Infinity"), Literal(std::numeric_limits<double>::infinity()));
    EXPECT_EQ(OnlyValue("-infinity"), Literal(-std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(std::isnan(std::get<double>(OnlyValue("NaN"))));
    EXPECT_EQ(OnlyValue("TRUE"), Literal(true));
    EXPECT_EQ(OnlyValue("false"), Literal(false));
    EXPECT_EQ(OnlyValue("nil"), Literal(Nil{}));
    EXPECT_EQ(OnlyValue("\"my \"\"logo\"\".png\""), Literal(QuotedText{"my \"logo\".png"}));
}

TEST(Calls, ParenthesesMayBeLeftOutWithoutArguments) {
    EXPECT_EQ(ParseCall("Foo").name, "Foo");
    EXPECT_TRUE(ParseCall(" Foo ( ) ").arguments.empty());
}

TEST(Calls, UnreadableCallsSayWhere) {
    EXPECT_THAT(ParseError(""), HasSubstr("expected the name of a method at the end"));
    EXPECT_THAT(ParseError("3(4)"), HasSubstr("expected the name of a method at column 1"));
    EXPECT_THAT(ParseError("F(1,)"), HasSubstr("expected a value"));
    EXPECT_THAT(ParseError("F(1"), HasSubstr("expected ')' at the end"));
    EXPECT_THAT(ParseError("F(1) 2"), HasSubstr("expected the end of the call at column 6"));
    EXPECT_THAT(ParseError("F(3px)"), HasSubstr("expected a value"));
    EXPECT_THAT(ParseError("F(1.2.3)"), HasSubstr("expected a value"));
    EXPECT_THAT(ParseError("F(logo.png)"), HasSubstr("\"the name of a file\""));
    EXPECT_THAT(ParseError("F(\"logo.png)"), HasSubstr("the quote at column 3 is never closed"));
    EXPECT_THAT(ParseError("F(9223372036854775808)"),
                HasSubstr("does not fit into an integer of 64 bits"));
    EXPECT_THAT(ParseError("F(1e999)"), HasSubstr("beyond the range of a double"));
    EXPECT_THAT(ParseError("F(a = 1, 2)"),
                HasSubstr("an argument without a name follows one with a name"));
}

TEST(Calls, DefaultsFillWhatIsLeftOut) {
    EXPECT_THAT(BindArguments(Scale(), ParseCall("Scale(64, 48)")),
                ElementsAre(Integer(64), Integer(48), Literal(false), Integer(0)));
}

TEST(Calls, NamedArgumentsFindTheirParameterInAnyCaseAndOrder) {
    EXPECT_THAT(BindArguments(Scale(), ParseCall("scale(64, YIELD = -5, smooth=true, Height=48)")),
                ElementsAre(Integer(64), Integer(48), Literal(true), Integer(-5)));
}

TEST(Calls, IntegersBecomeDoublesWhereDoublesAreDeclared) {
    EXPECT_THAT(BindArguments(Draw(), ParseCall("Draw(\"a.png\", 10)")),
                ElementsAre(Literal(QuotedText{"a.png"}), Literal(10.0), Literal(1.0)));
}

TEST(Calls, PicturesAreFileNamesOrNil) {
    EXPECT_EQ(BindArguments(Draw(), ParseCall("Draw(nil, 0)")).at(0), Literal(Nil{}));
    EXPECT_THAT(BindError(Draw(), "Draw(3, 0)"), HasSubstr("\"pic\" must be a picture"));
}

TEST(Calls, WrongNumberOfArgumentsNamesTheDeclaration) {
    EXPECT_EQ(BindError(Scale(), "Scale(1)"),
              "Scale: the argument \"height\" is missing (2 to 4 arguments expected); it is "
              "declared Scale(width as integer, height as integer, Smooth as boolean = false, "
              "yield as integer = 0) as picture");
    EXPECT_THAT(BindError(Scale(), "Scale(1, 2, true, 4, 5)"),
                HasSubstr("5 arguments given, 2 to 4 arguments expected; it is declared Scale("));
}

TEST(Calls, WrongTypesNameTheArgumentAndTheDeclaration) {
    EXPECT_THAT(BindError(Scale(), "Scale(1.5, 2)"),
                HasSubstr("the argument \"width\" must be an integer, not 1.5; it is declared"));
    EXPECT_THAT(BindError(Scale(), "Scale(1, 2, 1)"),
                HasSubstr("\"Smooth\" must be true or false, not 1"));
    EXPECT_THAT(BindError(Draw(), "Draw(\"a\", true)"),
                HasSubstr("\"x\" must be a double, not true"));
    EXPECT_THAT(BindError(Draw(), "Draw(\"a\", nil)"), HasSubstr("must be a double, not nil"));
}

TEST(Calls, WrongNamesPointToTheNearestParameter) {
    EXPECT_THAT(BindError(Scale(), "Scale(1, 2, smoth = true)"),
                HasSubstr(R"(there is no parameter "smoth", did you mean "Smooth"?)"));
    EXPECT_THAT(BindError(Scale(), "Scale(1, 2, width = 3)"),
                HasSubstr("the argument \"width\" is given twice"));
}

TEST(Calls, AValueWithoutADeclaredTypeCannotBePassed) {
    EXPECT_THAT(BindError(ParseDeclaration("F(assigns value)"), "F(1)"),
                HasSubstr("must be of no type that can be passed"));
}

TEST(Calls, MethodsAreFoundInAnyCaseAndElseTheNearestIsNamed) {
    const std::vector<Declaration> declarations{Draw(), Scale()};
    EXPECT_EQ(FindMethod(declarations, ParseCall("sCALE")), 1U);
    EXPECT_EQ(ErrorOf([&] { FindMethod(declarations, ParseCall("Scael(1)")); }),
              R"(there is no method "Scael"; did you mean "Scale"?)");
    EXPECT_EQ(ErrorOf([&] { FindMethod(declarations, ParseCall("Quite_different")); }),
              R"(there is no method "Quite_different")");
}

TEST(Calls, NoDamagedTextCrashesTheParser) {
    const std::string whole = R"(Foo(1, -2.5e-3, "a""b", name = true, other = nil))";
    int refused = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string text = whole.substr(0, length);
            if (!text.empty()) text[length / 2] = static_cast<char>(byte);
            if (ParseError(text) != "no error") ++refused;
        }
    }
    EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace workbench
