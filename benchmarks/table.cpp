// The two forms of a table.
#include "benchmarks/table.h"

#include <algorithm>
#include <cstddef>

namespace bench {

namespace {

void PrintRow(std::ostream& output, const Table& table, const Table::Row& row,
              const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t column = 0; column < row.size(); ++column) {
        const std::string padding(widths[column] - row[column].size(), ' ');
        const bool text = column < table.textColumns;
        line += (column == 0 ? "" : "  ") + (text ? row[column] + padding : padding + row[column]);
    }
    output << line.substr(0, line.find_last_not_of(' ') + 1) << "\n";
}

void PrintMarkdownRow(std::ostream& output, const Table::Row& row) {
    for (const std::string& cell : row)
        output << "| " << cell << " ";
    output << "|\n";
}

}  // namespace

void Print(std::ostream& output, const Table& table) {
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < table.head.size(); ++column) {
        std::size_t width = table.head[column].size();
        for (const Table::Row& row : table.rows)
            width = std::max(width, row[column].size());
        widths.push_back(width);
    }
    PrintRow(output, table, table.head, widths);
    for (const Table::Row& row : table.rows)
        PrintRow(output, table, row, widths);
}

void PrintMarkdown(std::ostream& output, const Table& table) {
    PrintMarkdownRow(output, table.head);
    for (std::size_t column = 0; column < table.head.size(); ++column)
        output << (column < table.textColumns ? "|---" : "|---:");
    output << "|\n";
    for (const Table::Row& row : table.rows)
        PrintMarkdownRow(output, row);
}

}  // namespace bench
