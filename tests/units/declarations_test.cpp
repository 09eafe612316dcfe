// The rewriting of declarations for modules.
#include "bridge/declarations.h"

#include <gtest/gtest.h>

#include <string>

namespace zvk {
namespace {

std::string WithClass(const std::string& declaration) {
    return AddClassParameter(declaration.c_str(), "Picture").get();
}

std::string WithValue(const std::string& declaration) {
    return AddAssignedValue(declaration.c_str()).get();
}

TEST(AddClassParameter, PutsTheObjectBeforeTheOtherParameters) {
    EXPECT_EQ(WithClass("ScaleZVK(width as integer) as picture"),
              "ScaleZVK(extends ref as Picture, width as integer) as picture");
}

TEST(AddClassParameter, GivesAMethodWithoutParameterListOne) {
    EXPECT_EQ(WithClass("Foo as integer"), "Foo(extends ref as Picture) as integer");
}

TEST(AddClassParameter, GivesABareNameOne) {
    EXPECT_EQ(WithClass("Foo"), "Foo(extends ref as Picture)");
    EXPECT_EQ(WithClass(""), "(extends ref as Picture)");
}

TEST(AddClassParameter, KeepsTheTrailingCommaOfAnEmptyParameterList) {
    EXPECT_EQ(WithClass("Foo()"), "Foo(extends ref as Picture, )");
}

TEST(AddClassParameter, CutsOffWhatIsTooLong) {
    const std::string rest(2000, 'x');
    EXPECT_EQ(WithClass("Foo(" + rest), ("Foo(extends ref as Picture, " + rest).substr(0, 998));
    EXPECT_EQ(WithClass("Foo " + rest), ("Foo(extends ref as Picture) " + rest).substr(0, 998));
    EXPECT_EQ(WithClass(rest), rest.substr(0, 999));
    EXPECT_EQ(WithClass(rest + "("), rest.substr(0, 999));
}

TEST(AddAssignedValue, PutsTheValueBehindTheParameters) {
    EXPECT_EQ(WithValue("Foo(extends ref as Picture)"),
              "Foo(extends ref as Picture, assigns value)");
}

TEST(AddAssignedValue, KeepsWhatFollowsTheFirstClosingParenthesisInside) {
    EXPECT_EQ(WithValue("Foo(a as integer) as integer"),
              "Foo(a as integer, assigns value as integer)");
}

TEST(AddAssignedValue, MakesAParameterListWhereThereIsNone) {
    EXPECT_EQ(WithValue("Foo as integer"), "Foo(assigns value as integer)");
    EXPECT_EQ(WithValue("Foo"), "Foo(assigns value)");
}

TEST(AddAssignedValue, CutsOffWhatIsTooLong) {
    const std::string text = "Foo(" + std::string(2000, 'x') + ")";
    EXPECT_EQ(WithValue(text), text.substr(0, 999));
    EXPECT_EQ(WithValue("Foo)" + std::string(2000, 'x')),
              ("Foo, assigns value" + std::string(2000, 'x')).substr(0, 998));
}

}  // namespace
}  // namespace zvk
