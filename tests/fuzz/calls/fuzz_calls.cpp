// The parsers of declarations and calls. The input is a text: the first line is a declaration, the
// rest a call. Either is refused by its own error or read; what was read is written out again and
// must come back the same.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/support/checks.h"
#include "tests/fuzz/support/target.h"
#include "workbench/calling/call.h"
#include "workbench/calling/declaration.h"

namespace {

using fuzz::Require;
using workbench::Call;
using workbench::Declaration;
using workbench::Literal;
using workbench::ValueType;

// What is being run, for whoever reports a failure.
std::string_view underWay;

// The parsed text, or nothing if it was refused by the error that stands for it.
template <typename Error, typename Parse>
auto Parsed(Parse parse) -> std::optional<decltype(parse())> {
    try {
        return parse();
    } catch (const Error& error) {
        Require(!std::string_view(error.what()).empty(), "a text was refused without a reason");
        return std::nullopt;
    } catch (const std::exception& error) {
        Require(false, std::string("an error that is none of the parser's: ") + error.what());
        return std::nullopt;
    }
}

std::optional<Declaration> ParsedDeclaration(std::string_view text) {
    return Parsed<workbench::DeclarationError>([&] { return workbench::ParseDeclaration(text); });
}

std::optional<Call> ParsedCall(std::string_view text) {
    return Parsed<workbench::CallError>([&] { return workbench::ParseCall(text); });
}

// Literals are compared by their texts, since not-a-number is not itself.
bool AreSame(const std::optional<Literal>& left, const std::optional<Literal>& right) {
    if (left.has_value() != right.has_value()) return false;
    return !left || (left->index() == right->index() && ToText(*left) == ToText(*right));
}

void RequireSame(const Declaration& left, const Declaration& right) {
    Require(left.name == right.name, "a declaration's name has changed");
    Require(left.receiver == right.receiver, "a declaration's receiver has changed");
    Require(left.result == right.result, "a declaration's result has changed");
    const bool areSame =
        std::equal(left.parameters.begin(), left.parameters.end(), right.parameters.begin(),
                   right.parameters.end(), [](const auto& one, const auto& other) {
                       return one.name == other.name && one.type == other.type &&
                              one.isAssigned == other.isAssigned &&
                              AreSame(one.defaultValue, other.defaultValue);
                   });
    Require(areSame, "a declaration's parameters have changed");
}

void CheckRoundTrip(const Declaration& declaration) {
    const std::string text = ToText(declaration);
    const auto again = ParsedDeclaration(text);
    Require(again.has_value(), "a declaration that was written out cannot be read: " + text);
    if (!again) return;
    RequireSame(declaration, *again);
    Require(ToText(*again) == text, "a declaration is written out in two ways: " + text);
}

std::string TextOf(const Call& call) {
    std::string text = call.name + "(";
    std::string_view separator;
    for (const workbench::WrittenArgument& argument : call.arguments) {
        text += separator;
        if (argument.name) text += *argument.name + " = ";
        text += ToText(argument.value);
        separator = ", ";
    }
    return text + ")";
}

void CheckRoundTrip(const Call& call) {
    const std::string text = TextOf(call);
    const auto again = ParsedCall(text);
    Require(again.has_value(), "a call that was written out cannot be read: " + text);
    if (!again) return;
    Require(again->name == call.name, "a call's name has changed");
    const bool areSame =
        std::equal(call.arguments.begin(), call.arguments.end(), again->arguments.begin(),
                   again->arguments.end(), [](const auto& one, const auto& other) {
                       return one.name == other.name && AreSame(one.value, other.value);
                   });
    Require(areSame, "a call's arguments have changed: " + text);
}

bool IsOfType(const Literal& value, ValueType type) {
    switch (type) {
        case ValueType::Integer:
            return std::holds_alternative<std::int64_t>(value);
        case ValueType::Double:
            return std::holds_alternative<double>(value);
        case ValueType::Boolean:
            return std::holds_alternative<bool>(value);
        case ValueType::Picture:
            return std::holds_alternative<workbench::Nil>(value) ||
                   std::holds_alternative<workbench::QuotedText>(value);
        case ValueType::String:
            return std::holds_alternative<workbench::QuotedText>(value);
        case ValueType::Any:
            return false;
    }
    return false;
}

void CheckBinding(const Declaration& declaration, const Call& call) {
    const auto bound =
        Parsed<workbench::CallError>([&] { return workbench::BindArguments(declaration, call); });
    if (!bound) return;
    Require(bound->size() == declaration.parameters.size(), "a parameter has no value");
    for (std::size_t i = 0; i < bound->size(); ++i)
        Require(IsOfType((*bound)[i], declaration.parameters[i].type),
                "a value is not of its parameter's type");
}

void CheckSearch(const Declaration& declaration, const Call& call) {
    const std::vector<Declaration> declarations = {declaration};
    const auto index =
        Parsed<workbench::CallError>([&] { return workbench::FindMethod(declarations, call); });
    Require(index.has_value() == workbench::SameName(declaration.name, call.name),
            "a method is found under another name, or not under its own");
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    fuzz::StopAtFailures([] { return std::string(underWay); });
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    underWay = {reinterpret_cast<const char*>(bytes), count};
    if (fuzz::IsVerbose()) std::cerr << underWay << '\n';
    const std::size_t lineEnd = std::min(underWay.find('\n'), count);
    const auto declaration = ParsedDeclaration(underWay.substr(0, lineEnd));
    const auto call = ParsedCall(underWay.substr(std::min(lineEnd + 1, count)));
    if (declaration) CheckRoundTrip(*declaration);
    if (call) CheckRoundTrip(*call);
    if (declaration && call) {
        CheckBinding(*declaration, *call);
        CheckSearch(*declaration, *call);
    }
    return 0;
}
