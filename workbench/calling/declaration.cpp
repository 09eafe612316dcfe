// Parses declarations and writes them out again. Called by the host when a plugin registers a
// method and when it asks for one by declaration; it must never trust the text.
#include "workbench/calling/declaration.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "workbench/calling/scanner.h"

namespace workbench {
namespace {

constexpr std::array<std::pair<ValueType, std::string_view>, 6> typeNames{{
    {ValueType::Integer, "integer"},
    {ValueType::Double, "double"},
    {ValueType::Boolean, "boolean"},
    {ValueType::Picture, "picture"},
    {ValueType::String, "string"},
    {ValueType::Any, "variant"},
}};

ValueType ExpectType(Scanner& scanner) {
    const std::string name = scanner.ExpectName("a type");
    const auto* const found =
        std::find_if(typeNames.begin(), typeNames.end(),
                     [&](const auto& type) { return SameName(type.second, name); });
    if (found == typeNames.end()) throw ScanError("the type \"" + name + "\" is not known");
    return found->first;
}

bool Fits(const Literal& literal, ValueType type) {
    switch (type) {
        case ValueType::Integer:
            return std::holds_alternative<std::int64_t>(literal);
        case ValueType::Double:
            return std::holds_alternative<double>(literal) ||
                   std::holds_alternative<std::int64_t>(literal);
        case ValueType::Boolean:
            return std::holds_alternative<bool>(literal);
        case ValueType::Picture:
            return std::holds_alternative<Nil>(literal);
        case ValueType::String:
            return std::holds_alternative<QuotedText>(literal);
        case ValueType::Any:
            return false;
    }
    return false;
}

void ReadParameter(Scanner& scanner, Declaration& declaration) {
    const bool isFirst = declaration.parameters.empty() && !declaration.receiver;
    if (isFirst && scanner.AcceptWord("extends")) {
        declaration.receiver = scanner.ExpectName("the name of the receiver");
        scanner.ExpectWord("as");
        if (ExpectType(scanner) != ValueType::Picture)
            throw ScanError("only pictures can be extended");
        return;
    }
    Parameter parameter;
    parameter.isAssigned = scanner.AcceptWord("assigns");
    parameter.name = scanner.ExpectName("the name of a parameter");
    if (parameter.isAssigned && !scanner.AcceptWord("as")) {
        parameter.type = ValueType::Any;
    } else {
        if (!parameter.isAssigned) scanner.ExpectWord("as");
        parameter.type = ExpectType(scanner);
    }
    if (scanner.Accept('=')) {
        Literal value = scanner.ExpectLiteral("a default value");
        if (!Fits(value, parameter.type))
            throw ScanError("the default value of \"" + parameter.name + "\" is not of its type");
        if (parameter.type == ValueType::Double && std::holds_alternative<std::int64_t>(value))
            value = static_cast<double>(std::get<std::int64_t>(value));
        parameter.defaultValue = std::move(value);
    }
    declaration.parameters.push_back(std::move(parameter));
}

void ReadParameters(Scanner& scanner, Declaration& declaration) {
    if (scanner.Accept(')')) return;
    do {
        ReadParameter(scanner, declaration);
        if (scanner.Accept(')')) return;
        scanner.Expect(',');
    } while (!scanner.Accept(')'));
}

Declaration ReadDeclaration(Scanner& scanner) {
    Declaration declaration;
    declaration.name = scanner.ExpectName("the name of a method");
    if (scanner.Accept('(')) ReadParameters(scanner, declaration);
    if (scanner.AcceptWord("as")) {
        declaration.result = ExpectType(scanner);
        if (declaration.result == ValueType::Any) throw ScanError("a result needs a plain type");
    }
    if (!scanner.AtEnd()) scanner.Fail("the end of the declaration");
    return declaration;
}

std::string DoubleText(double value) {
    if (std::isnan(value)) return "NaN";
    if (std::isinf(value)) return value < 0 ? "-Infinity" : "Infinity";
    std::array<char, 64> digits{};
    const std::to_chars_result end =
        std::to_chars(digits.data(), digits.data() + digits.size(), value);
    std::string text(digits.data(), end.ptr);
    if (text.find_first_of(".e") == std::string::npos) text += ".0";
    return text;
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"') quoted += '"';
        quoted += character;
    }
    return quoted + '"';
}

char Lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

}  // namespace

std::string_view TypeName(ValueType type) {
    return typeNames.at(static_cast<std::size_t>(type)).second;
}

std::string ToText(const Literal& literal) {
    struct Writer {
        std::string operator()(Nil) const { return "nil"; }
        std::string operator()(std::int64_t value) const { return std::to_string(value); }
        std::string operator()(double value) const { return DoubleText(value); }
        std::string operator()(bool value) const { return value ? "true" : "false"; }
        std::string operator()(const QuotedText& value) const { return Quoted(value.text); }
    };
    return std::visit(Writer{}, literal);
}

std::string ToText(const Declaration& declaration) {
    std::string text = declaration.name + "(";
    std::string_view separator;
    if (declaration.receiver) {
        text +=
            "extends " + *declaration.receiver + " as " + std::string(TypeName(ValueType::Picture));
        separator = ", ";
    }
    for (const Parameter& parameter : declaration.parameters) {
        text += separator;
        if (parameter.isAssigned) text += "assigns ";
        text += parameter.name;
        if (parameter.type != ValueType::Any)
            text += " as " + std::string(TypeName(parameter.type));
        if (parameter.defaultValue) text += " = " + ToText(*parameter.defaultValue);
        separator = ", ";
    }
    text += ")";
    if (declaration.result) text += " as " + std::string(TypeName(*declaration.result));
    return text;
}

Declaration ParseDeclaration(std::string_view text) {
    Scanner scanner(text);
    try {
        return ReadDeclaration(scanner);
    } catch (const ScanError& error) {
        throw DeclarationError("cannot read the declaration \"" + std::string(text) +
                               "\": " + error.what());
    }
}

bool SameName(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return Lower(a) == Lower(b); });
}

}  // namespace workbench
