// The folders' dependencies go in one direction. Every include of the tree is checked against the
// table of what a folder may know.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// What the files of a folder may include beside its own.
const std::map<std::string, std::set<std::string>> allowedIncludes = {
    {"hostapi", {}},
    {"kernels", {}},
    {"bridge", {"hostapi", "kernels/arithmetic.h", "kernels/streaming.h"}},
    {"pixels",
     {"hostapi", "bridge", "kernels/arithmetic.h", "kernels/channel_order.h",
      "kernels/streaming.h"}},
    {"scaling", {"hostapi", "bridge", "pixels", "kernels"}},
    {"filters", {"hostapi", "bridge", "pixels", "kernels"}},
    {"workbench", {"hostapi"}},
    {"benchmarks", {"hostapi", "workbench"}},
    {"tests/reference", {}},
};

bool IsSource(const fs::path& path) {
    return path.extension() == ".h" || path.extension() == ".cpp" || path.extension() == ".inc";
}

// The project's own files that a file includes, as they stand between the quotes.
std::vector<std::string> IncludesOf(const fs::path& path) {
    const std::string start = "#include \"";
    std::vector<std::string> found;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(start)) continue;
        const std::size_t end = line.find('"', start.size());
        found.push_back(line.substr(start.size(), end - start.size()));
    }
    return found;
}

bool Allows(const std::string& folder, const std::set<std::string>& allowed,
            const std::string& include) {
    if (include.starts_with(folder + "/")) return true;
    return allowed.contains(include) || allowed.contains(include.substr(0, include.find('/')));
}

class Layering : public ::testing::TestWithParam<std::string> {};

TEST_P(Layering, IsKeptByEveryInclude) {
    const std::string folder = GetParam();
    int fileCount = 0;
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(ZVK_SOURCE_DIR) / folder)) {
        if (!entry.is_regular_file() || !IsSource(entry.path())) continue;
        ++fileCount;
        for (const std::string& include : IncludesOf(entry.path())) {
            EXPECT_TRUE(Allows(folder, allowedIncludes.at(folder), include))
                << entry.path().filename() << " includes " << include;
        }
    }
    EXPECT_GT(fileCount, 0);
}

INSTANTIATE_TEST_SUITE_P(Folders, Layering, ::testing::ValuesIn([] {
                             std::vector<std::string> folders;
                             for (const auto& [folder, allowed] : allowedIncludes) {
                                 folders.push_back(folder);
                             }
                             return folders;
                         }()),
                         [](const auto& folder) {
                             std::string name = folder.param;
                             std::replace(name.begin(), name.end(), '/', '_');
                             return name;
                         });

// The only header that reaches upward: registration takes the addresses of the methods.
TEST(Layering, HasOneHeaderForTheMethodsOnBothSides) {
    std::set<std::string> including;
    for (const std::string folder : {"bridge", "scaling", "filters"}) {
        for (const auto& entry : fs::directory_iterator(fs::path(ZVK_SOURCE_DIR) / folder)) {
            for (const std::string& include : IncludesOf(entry.path())) {
                if (include == "bridge/picture_methods.h") including.insert(folder);
            }
        }
    }
    EXPECT_EQ(including, (std::set<std::string>{"bridge", "scaling", "filters"}));
}

}  // namespace
