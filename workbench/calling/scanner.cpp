// Tokens of the host language. Called by the parsers of declarations and calls only; it knows
// neither, and never depends on the process's locale.
#include "workbench/calling/scanner.h"

#include <charconv>
#include <limits>

namespace workbench {
namespace {

bool IsBlank(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsNameStart(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           character == '_';
}

bool IsNamePart(char character) {
    return IsNameStart(character) || IsDigit(character);
}

// A number may be followed by a sign of the language, never by a letter, a dot or another digit.
bool EndsNumber(std::string_view text, std::size_t position) {
    return position >= text.size() || !(IsNamePart(text[position]) || text[position] == '.');
}

// Puts the constant that the word stands for into `literal`; false if it stands for none.
bool ReadWord(std::string_view word, Literal& literal) {
    if (SameName(word, "true")) {
        literal = true;
    } else if (SameName(word, "false")) {
        literal = false;
    } else if (SameName(word, "nil")) {
        literal = Nil{};
    } else if (SameName(word, "nan")) {
        literal = std::numeric_limits<double>::quiet_NaN();
    } else if (SameName(word, "infinity") || SameName(word, "inf")) {
        literal = std::numeric_limits<double>::infinity();
    } else {
        return false;
    }
    return true;
}

}  // namespace

void Scanner::SkipBlanks() {
    while (position_ < text_.size() && IsBlank(text_[position_]))
        ++position_;
}

bool Scanner::AtEnd() {
    SkipBlanks();
    return position_ >= text_.size();
}

bool Scanner::Accept(char sign) {
    if (AtEnd() || text_[position_] != sign) return false;
    ++position_;
    return true;
}

std::string_view Scanner::PeekName() {
    if (AtEnd() || !IsNameStart(text_[position_])) return {};
    std::size_t end = position_ + 1;
    while (end < text_.size() && IsNamePart(text_[end]))
        ++end;
    return text_.substr(position_, end - position_);
}

bool Scanner::AcceptWord(std::string_view word) {
    const std::string_view name = PeekName();
    if (name.empty() || !SameName(name, word)) return false;
    position_ += name.size();
    return true;
}

std::optional<std::string> Scanner::AcceptName() {
    const std::string_view name = PeekName();
    if (name.empty()) return std::nullopt;
    position_ += name.size();
    return std::string(name);
}

std::optional<std::string> Scanner::AcceptNameAndEquals() {
    const std::size_t start = position_;
    std::optional<std::string> name = AcceptName();
    if (name && Accept('=')) return name;
    position_ = start;
    return std::nullopt;
}

void Scanner::Expect(char sign) {
    if (!Accept(sign)) Fail(std::string("'") + sign + "'");
}

void Scanner::ExpectWord(std::string_view word) {
    if (!AcceptWord(word)) Fail("\"" + std::string(word) + "\"");
}

std::string Scanner::ExpectName(std::string_view what) {
    std::optional<std::string> name = AcceptName();
    if (!name) Fail(what);
    return *name;
}

Literal Scanner::ExpectLiteral(std::string_view what) {
    const std::string_view word = PeekName();
    if (!word.empty()) {
        Literal literal;
        if (!ReadWord(word, literal)) Fail(what);
        position_ += word.size();
        return literal;
    }
    if (AtEnd()) Fail(what);
    if (text_[position_] == '"') return ExpectQuotedText();
    return ExpectNumber(what);
}

// The end of the longest number that starts here, its sign left out: digits with at most one dot,
// and an exponent.
std::size_t Scanner::NumberEnd(std::size_t start) const {
    std::size_t end = start;
    bool hasDigits = false;
    bool hasDot = false;
    for (; end < text_.size(); ++end) {
        if (IsDigit(text_[end])) {
            hasDigits = true;
        } else if (text_[end] == '.' && !hasDot) {
            hasDot = true;
        } else {
            break;
        }
    }
    if (!hasDigits) return start;
    if (end >= text_.size() || (text_[end] != 'e' && text_[end] != 'E')) return end;
    std::size_t exponent = end + 1;
    if (exponent < text_.size() && (text_[exponent] == '+' || text_[exponent] == '-')) ++exponent;
    if (exponent >= text_.size() || !IsDigit(text_[exponent])) return end;
    while (exponent < text_.size() && IsDigit(text_[exponent]))
        ++exponent;
    return exponent;
}

Literal Scanner::ExpectNumber(std::string_view what) {
    const std::size_t signPosition = position_;
    std::size_t start = position_;
    const bool isNegative = text_[start] == '-';
    if (isNegative || text_[start] == '+') ++start;
    position_ = start;
    if (start > signPosition && start < text_.size() && IsNameStart(text_[start])) {
        const std::string_view word = PeekName();
        Literal literal;
        const bool isConstant = ReadWord(word, literal);
        const double* const value = std::get_if<double>(&literal);
        if (isConstant && value != nullptr) {
            position_ += word.size();
            return isNegative ? -*value : *value;
        }
    }
    const std::size_t end = NumberEnd(start);
    position_ = signPosition;
    if (end == start || !EndsNumber(text_, end)) Fail(what);
    const std::string_view digits = text_.substr(start, end - start);
    const std::string_view number =
        text_.substr(isNegative ? signPosition : start, end - (isNegative ? signPosition : start));
    const char* const last = number.data() + number.size();
    const bool isInteger = digits.find_first_of(".eE") == std::string_view::npos;
    std::int64_t integer = 0;
    double real = 0.0;
    const std::from_chars_result read = isInteger ? std::from_chars(number.data(), last, integer)
                                                  : std::from_chars(number.data(), last, real);
    if (read.ec != std::errc() || read.ptr != last)
        throw ScanError("the number " + std::string(number) +
                        (isInteger ? " does not fit into an integer of 64 bits"
                                   : " is beyond the range of a double"));
    position_ = end;
    if (isInteger) return integer;
    return real;
}

// Text between double quotes; a quote inside it is written twice.
Literal Scanner::ExpectQuotedText() {
    const std::size_t start = position_;
    std::string text;
    for (std::size_t at = start + 1; at < text_.size(); ++at) {
        if (text_[at] != '"') {
            text += text_[at];
        } else if (at + 1 < text_.size() && text_[at + 1] == '"') {
            text += '"';
            ++at;
        } else {
            position_ = at + 1;
            return QuotedText{std::move(text)};
        }
    }
    throw ScanError("the quote at column " + std::to_string(start + 1) + " is never closed");
}

void Scanner::Fail(std::string_view expected) {
    std::string message = "expected " + std::string(expected);
    if (AtEnd()) throw ScanError(message + " at the end");
    constexpr std::size_t shownLength = 20;
    const std::string_view rest = text_.substr(position_);
    message += " at column " + std::to_string(position_ + 1) + ", where \"";
    message += rest.substr(0, shownLength);
    message += rest.size() > shownLength ? "...\" stands" : "\" stands";
    throw ScanError(message);
}

}  // namespace workbench
