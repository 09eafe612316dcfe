// Case by case, in the order of the numbers.
#include "tests/golden/check.h"

#include <map>
#include <ostream>
#include <string>

#include "tests/golden/case_list.h"
#include "tests/golden/list_file.h"
#include "tests/golden/run.h"

namespace golden {

int Check(const std::filesystem::path& list, const std::filesystem::path& plugin,
          std::ostream& output) {
    std::map<int, ListEntry> entries = ReadList(list);
    int differences = 0;
    int differencesBySin = 0;
    for (const Case& item : AllCases()) {
        const ListEntry found{Describe(item), Checksum(RunCase(item, plugin))};
        const auto entry = entries.find(item.number);
        const bool listed = entry != entries.end();
        if (listed && entry->second == found) {
            entries.erase(entry);
            continue;
        }
        ++differences;
        if (UsesSin(item)) ++differencesBySin;
        output << item.number << ": " << found.description << "\n";
        if (listed && entry->second.description != found.description)
            output << "    the list has another case: " << entry->second.description << "\n";
        output << "    expected " << (listed ? entry->second.checksum : "nothing: not in the list")
               << ", found " << found.checksum << "\n";
        if (listed) entries.erase(entry);
    }
    for (const auto& [number, entry] : entries) {
        ++differences;
        output << number << ": " << entry.description << "\n    expected " << entry.checksum
               << ", found nothing: the program has no such case\n";
    }
    output << AllCases().size() << " cases, " << differences << " differences, " << differencesBySin
           << " of them in cases marked sin\n";
    return differences;
}

}  // namespace golden
