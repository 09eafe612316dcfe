// Writing and reading of the list's lines.
#include "tests/golden/list_file.h"

#include <charconv>
#include <fstream>
#include <ostream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace golden {
namespace {

constexpr std::string_view behindNumber = ": ";
constexpr std::string_view beforeChecksum = " = ";

// Takes the line apart into the map; false for a line of another form and for a number seen before.
bool TakeLine(const std::string& line, std::map<int, ListEntry>& entries) {
    const std::size_t colon = line.find(behindNumber);
    const std::size_t equals = line.rfind(beforeChecksum);
    if (colon == std::string::npos || equals == std::string::npos || equals < colon) return false;
    int number = 0;
    const char* const numberEnd = line.data() + colon;
    const auto [end, error] = std::from_chars(line.data(), numberEnd, number);
    if (error != std::errc{} || end != numberEnd || number < 1) return false;
    const std::size_t start = colon + behindNumber.size();
    ListEntry entry{line.substr(start, equals - start),
                    line.substr(equals + beforeChecksum.size())};
    if (entry.description.empty() || entry.checksum.empty()) return false;
    return entries.emplace(number, std::move(entry)).second;
}

}  // namespace

void WriteHead(std::ostream& output) {
    output << "# Golden results: one line per case, with the CRC-32 of the pixels that it gives.\n"
              "# The program zvk_golden makes this list and checks it; docs/golden.md says more.\n"
              "# Two checksums are those of the picture and of its mask.\n"
              "# In cases marked with the word sin, weights come from the C library's sin: with\n"
              "# another C library they may differ, by one level in a few bytes. No other may.\n";
}

std::string LineOf(const Case& item, const std::string& checksum) {
    std::string line = std::to_string(item.number);
    line += behindNumber;
    line += Describe(item);
    line += beforeChecksum;
    return line + checksum;
}

std::map<int, ListEntry> ReadList(const std::filesystem::path& file) {
    std::error_code ignored;
    std::ifstream input(file);
    if (!input || std::filesystem::is_directory(file, ignored))
        throw std::runtime_error("cannot read the list " + file.string());
    std::map<int, ListEntry> entries;
    int lineNumber = 0;
    for (std::string line; std::getline(input, line);) {
        ++lineNumber;
        if (line.empty() || line.front() == '#') continue;
        if (!TakeLine(line, entries)) {
            throw std::runtime_error(
                file.string() + ", line " + std::to_string(lineNumber) +
                ": not a line of a list, or a number that was there before: " + line);
        }
    }
    if (input.bad()) throw std::runtime_error("cannot read the list " + file.string());
    if (entries.empty()) throw std::runtime_error(file.string() + " lists no case");
    return entries;
}

}  // namespace golden
