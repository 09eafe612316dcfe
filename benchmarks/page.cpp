// Writes the page and the figure. Says of the machine no more than its processor.
#include "benchmarks/page.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "benchmarks/figure.h"
#include "benchmarks/report.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

constexpr const char* notesLine = "## Notes";

constexpr const char* method =
    R"(Written by `./bench --write`. One process on one processor core holds everything: the plugin, once
per level of instruction sets, loaded by the workbench's host and called through the functions that
it registered, with pictures of a desktop runtime; and the libraries, each on one thread. All take
turns (A, B, C, A, B, C, …), short calls in batches of about a millisecond, each turn begun with
two to five calls that are not timed; the figures are medians of the process's own processor time.

- A call includes all that it needs: tables, filters, working memory, and the making and releasing of
  the result. Results of our methods and of OpenCV, libyuv, zimg and pixman are pictures of the same
  host; libgd and Pillow make their own.
- Pictures are noise, slow gradients and flat patches, opaque. A ratio is the worst of the three.
- A peer counts if it gives the same picture on noise within 1.5 levels on average ("same job"), or,
  where no library has the method, if it does the same kind of work and agrees on gradients ("same
  work"). Others are shown for comparison, with the reason. A peer that uses AVX-512 counts for that
  level only. Creating a result is listed by itself as "empty result".
- The memcpy moves half as many bytes as the job must read and write, so that it touches as many.
)";

constexpr const char* recycledResults =
    R"(- The memory of results is recycled: the host gives out the same block again, as it was left, and the
  allocator keeps what is freed. Otherwise most of the time of some jobs would be the host's clearing
  and the system's page faults. `--fresh-results` times them as well.
)";

constexpr const char* freshResults =
    R"(- Results are made anew: the host allocates, clears and whitens each picture, and the system hands out
  its pages, within the measured time.
)";

// What a person added to the page, from the line of the notes on.
std::string NotesOf(const fs::path& page) {
    std::ifstream file(page);
    std::string notes;
    bool found = false;
    for (std::string line; std::getline(file, line);) {
        found = found || line == notesLine;
        if (found) notes += line + "\n";
    }
    return notes;
}

void List(std::ostream& output, const std::vector<std::string>& lines) {
    for (const std::string& line : lines)
        output << "- " << line << "\n";
    output << "\n";
}

std::string PageOf(const std::vector<Outcome>& outcomes, const std::vector<std::string>& levels,
                   const PageText& text) {
    std::ostringstream output;
    output << "# Benchmarks\n\n"
           << method << (text.freshResults ? freshResults : recycledResults)
           << "\n## Machine and libraries\n\n";
    output << text.processor << "; ";
    for (const std::string& library : text.libraries)
        output << library << (&library == &text.libraries.back() ? ".\n\n" : ", ");
    output << "## Goals and ratios\n\n";
    List(output, Legend());
    PrintMarkdown(output, GoalTable(outcomes, levels));
    output << "\n";
    List(output, GoalsReached(outcomes, levels));
    output << "![Time relative to the fastest peer, job by job](images/benchmarks.svg)\n\n";
    if (!text.remarks.empty()) {
        output << "## Remarks\n\n";
        List(output, text.remarks);
    }
    output << "## Contenders\n\n";
    for (const Outcome& outcome : outcomes) {
        const Contest& contest = outcome.contests.front();
        output << "### " << NameOf(outcome.job) << ", on " << NameOf(contest.kind) << "\n\n";
        PrintMarkdown(output, ContenderTable(contest));
        output << "\n";
    }
    return output.str();
}

void WriteFile(const fs::path& file, const std::string& text) {
    std::ofstream output(file);
    output << text;
    output.close();
    if (!output) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace

void WritePage(const fs::path& folder, const std::vector<Outcome>& outcomes,
               const std::vector<std::string>& levels, const PageText& text) {
    const fs::path page = folder / "benchmarks.md";
    std::string content = PageOf(outcomes, levels, text) + NotesOf(page);
    while (content.ends_with("\n\n"))
        content.pop_back();
    std::ostringstream figure;
    WriteFigure(figure, outcomes, levels);
    fs::create_directories(folder / "images");
    WriteFile(folder / "images" / "benchmarks.svg", figure.str());
    WriteFile(page, content);
}

}  // namespace bench
