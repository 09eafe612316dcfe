// Ownership of the lists and their entries.
#include "scaling/contributions.h"

namespace zvk {

ContributionTable::~ContributionTable() {
    Clear();
}

bool ContributionTable::Allocate(std::int64_t length) {
    Clear();
    lists_.reset();
    lists_ = AllocateZeroed<ContributionList>(length);
    length_ = lists_ == nullptr ? 0 : length;
    return lists_ != nullptr;
}

void ContributionTable::Clear() {
    for (ContributionList& list : Lists(length_)) {
        std::free(list.entries);
        list = {};
    }
}

}  // namespace zvk
