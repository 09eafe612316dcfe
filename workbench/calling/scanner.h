// Reads the words, signs and constants of the host language from a text, left to right.
// Used by the parsers of declarations and calls. It never looks outside the text and never goes
// back further than one token, so that any text is read in linear time.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "workbench/calling/declaration.h"

namespace workbench {

/// A text that cannot be read on; what() says why and at which column.
class ScanError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class Scanner {
  public:
    /// The text must outlive the scanner.
    explicit Scanner(std::string_view text) : text_(text) {}

    /// Each of these skips blanks first.
    bool AtEnd();
    bool Accept(char sign);                  // takes the sign if it comes next
    bool AcceptWord(std::string_view word);  // takes the word if it comes next, in any case
    std::optional<std::string>
    AcceptName();  // takes a name: a letter or _, then letters, digits, _
    void Expect(char sign);
    void ExpectWord(std::string_view word);
    std::string ExpectName(std::string_view what);
    Literal ExpectLiteral(std::string_view what);

    /// Takes `name =` if it comes next, the name alone not being enough.
    std::optional<std::string> AcceptNameAndEquals();

    [[noreturn]] void Fail(std::string_view expected);

  private:
    void SkipBlanks();
    std::string_view PeekName();
    Literal ExpectNumber(std::string_view what);
    Literal ExpectQuotedText();
    std::size_t NumberEnd(std::size_t start) const;

    std::string_view text_;
    std::size_t position_ = 0;
};

}  // namespace workbench
