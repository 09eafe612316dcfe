// How declarations of the host language are read: every form that plugins register, and every
// mistake reported rather than guessed at.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "workbench/calling/declaration.h"

namespace workbench {
namespace {

using testing::HasSubstr;

std::string MessageOf(const std::string& text) {
    try {
        ParseDeclaration(text);
    } catch (const DeclarationError& error) {
        return error.what();
    }
    return "no error";
}

TEST(Declarations, ReadsNamesTypesDefaultsAndResult) {
    const Declaration declaration = ParseDeclaration(
        "Foo(w as integer, r as Double=1.5, flag as boolean = true, p as picture, s as STRING = "
        "\"a \"\"b\"\"\", last as integer = -10000) as picture");
    EXPECT_EQ(declaration.name, "Foo");
    EXPECT_FALSE(declaration.receiver);
    ASSERT_EQ(declaration.parameters.size(), 6U);
    EXPECT_EQ(declaration.parameters[0].name, "w");
    EXPECT_EQ(declaration.parameters[0].type, ValueType::Integer);
    EXPECT_FALSE(declaration.parameters[0].defaultValue);
    EXPECT_EQ(declaration.parameters[1].type, ValueType::Double);
    EXPECT_EQ(declaration.parameters[1].defaultValue, Literal(1.5));
    EXPECT_EQ(declaration.parameters[2].type, ValueType::Boolean);
    EXPECT_EQ(declaration.parameters[2].defaultValue, Literal(true));
    EXPECT_EQ(declaration.parameters[3].type, ValueType::Picture);
    EXPECT_EQ(declaration.parameters[4].type, ValueType::String);
    EXPECT_EQ(declaration.parameters[4].defaultValue, Literal(QuotedText{"a \"b\""}));
    EXPECT_EQ(declaration.parameters[5].defaultValue, Literal(std::int64_t{-10000}));
    EXPECT_EQ(declaration.result, ValueType::Picture);
}

TEST(Declarations, BlanksAroundDefaultsAreFree) {
    const Declaration tight = ParseDeclaration("Foo(a as boolean=false,b as integer=0)as boolean");
    const Declaration wide =
        ParseDeclaration("  Foo ( a as boolean = false , b as integer = 0 )  as  boolean ");
    EXPECT_EQ(ToText(tight), ToText(wide));
    EXPECT_EQ(tight.parameters[0].defaultValue, Literal(false));
    EXPECT_EQ(tight.parameters[1].defaultValue, Literal(std::int64_t{0}));
}

TEST(Declarations, ReceiverOfAModulesMethodIsNotAParameter) {
    const Declaration declaration =
        ParseDeclaration("Foo(extends ref as Picture, width as integer) as picture");
    EXPECT_EQ(declaration.receiver, "ref");
    ASSERT_EQ(declaration.parameters.size(), 1U);
    EXPECT_EQ(declaration.parameters[0].name, "width");
}

TEST(Declarations, EmptyListThatGainedAReceiverKeepsItsComma) {
    const Declaration declaration = ParseDeclaration("Foo(extends ref as Picture, )");
    EXPECT_EQ(declaration.receiver, "ref");
    EXPECT_TRUE(declaration.parameters.empty());
    EXPECT_FALSE(declaration.result);
}

TEST(Declarations, MethodWithoutAParameterList) {
    const Declaration declaration = ParseDeclaration("CopyMask as Picture");
    EXPECT_EQ(declaration.name, "CopyMask");
    EXPECT_TRUE(declaration.parameters.empty());
    EXPECT_EQ(declaration.result, ValueType::Picture);
}

TEST(Declarations, AssignedValueWithAndWithoutAType) {
    const Declaration typed = ParseDeclaration("Mask(assigns newMask As Picture)");
    ASSERT_EQ(typed.parameters.size(), 1U);
    EXPECT_TRUE(typed.parameters[0].isAssigned);
    EXPECT_EQ(typed.parameters[0].type, ValueType::Picture);

    const Declaration open = ParseDeclaration("Foo(extends ref as Picture, assigns value)");
    ASSERT_EQ(open.parameters.size(), 1U);
    EXPECT_TRUE(open.parameters[0].isAssigned);
    EXPECT_EQ(open.parameters[0].type, ValueType::Any);
}

TEST(Declarations, WholeDefaultOfADoubleBecomesADouble) {
    const Declaration declaration = ParseDeclaration("Foo(x as double = 1)");
    EXPECT_EQ(declaration.parameters[0].defaultValue, Literal(1.0));
}

TEST(Declarations, WrittenOutAndReadAgainAreTheSame) {
    const std::string uniform =
        "Foo(a as integer = 3, b as double = 1e+300, c as string = \"x\"\"y\", assigns d as "
        "picture = nil) as boolean";
    EXPECT_EQ(ToText(ParseDeclaration(uniform)), uniform);
}

TEST(Declarations, AreWrittenWithTheirReceiver) {
    EXPECT_EQ(ToText(ParseDeclaration("Foo(Extends ref AS Picture, a as integer)")),
              "Foo(extends ref as picture, a as integer)");
    EXPECT_EQ(ToText(ParseDeclaration("Foo(extends ref as Picture, )")),
              "Foo(extends ref as picture)");
}

TEST(Declarations, MistakesAreNamed) {
    EXPECT_THAT(MessageOf(""), HasSubstr("expected the name of a method at the end"));
    EXPECT_THAT(MessageOf("Foo("), HasSubstr("expected the name of a parameter at the end"));
    EXPECT_THAT(MessageOf("Foo(a)"), HasSubstr("expected \"as\" at column 6"));
    EXPECT_THAT(MessageOf("Foo(a as thing)"), HasSubstr("the type \"thing\" is not known"));
    EXPECT_THAT(MessageOf("Foo(a as integer = 1.5)"),
                HasSubstr("the default value of \"a\" is not of its type"));
    EXPECT_THAT(MessageOf("Foo(a as integer b as integer)"), HasSubstr("expected ','"));
    EXPECT_THAT(MessageOf("Foo() as picture and more"),
                HasSubstr("expected the end of the declaration at column 18"));
    EXPECT_THAT(MessageOf("Foo(extends ref as Integer)"),
                HasSubstr("only pictures can be extended"));
    EXPECT_THAT(MessageOf("Foo(a as integer, extends ref as Picture)"),
                HasSubstr("expected \"as\""));
    EXPECT_THAT(MessageOf("Foo as variant"), HasSubstr("a result needs a plain type"));
}

TEST(Declarations, NoPrefixAndNoDamagedByteCrashesTheParser) {
    const std::string whole =
        "Foo(extends ref as Picture, r as double=-1.5e+3, s as string = \"a\"\"b\", assigns v) as "
        "picture";
    int accepted = 0;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        for (const char damage : {'\0', '"', '(', '\xff'}) {
            std::string text = whole.substr(0, length);
            if (!text.empty()) text[length / 2] = damage;
            if (MessageOf(text) == "no error") ++accepted;
            if (MessageOf(whole.substr(0, length)) == "no error") ++accepted;
        }
    }
    EXPECT_GT(accepted, 0);
}

}  // namespace
}  // namespace workbench
