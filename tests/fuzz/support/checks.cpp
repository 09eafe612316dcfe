// Ends the process at the first failure, whoever notices it.
#include "tests/fuzz/support/checks.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace fuzz {
namespace {

// GoogleTest prints a failure itself, then tells this listener.
class Stop : public ::testing::EmptyTestEventListener {
  public:
    explicit Stop(std::function<std::string()> describe) : describe_(std::move(describe)) {}

    void OnTestPartResult(const ::testing::TestPartResult& result) override {
        if (!result.failed()) return;
        std::fprintf(stderr, "The case:\n%s\n", describe_().c_str());
        std::abort();
    }

  private:
    std::function<std::string()> describe_;
};

}  // namespace

void StopAtFailures(std::function<std::string()> describe) {
    // GoogleTest owns its listeners.
    auto stop = std::make_unique<Stop>(std::move(describe));
    ::testing::UnitTest::GetInstance()->listeners().Append(stop.release());
}

void Require(bool holds, std::string_view what) {
    if (!holds) ADD_FAILURE() << what;
}

bool IsVerbose() {
    static const bool isVerbose = std::getenv("ZVK_FUZZ_VERBOSE") != nullptr;
    return isVerbose;
}

}  // namespace fuzz
