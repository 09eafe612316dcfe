// A table of texts that can be printed for a terminal and written as Markdown.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace bench {

struct Table {
    using Row = std::vector<std::string>;

    Row head;
    std::vector<Row> rows;        // each as long as the head
    std::size_t textColumns = 1;  // so many at the left are text; the others stand to the right
};

/// Columns aligned by spaces.
void Print(std::ostream& output, const Table& table);

/// Columns between bars.
void PrintMarkdown(std::ostream& output, const Table& table);

}  // namespace bench
