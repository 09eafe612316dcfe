// The five methods against their references, under every kind of host that the workbench can be.
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <map>
#include <string>

#include "tests/fuzz/methods/case.h"
#include "tests/fuzz/methods/execution.h"
#include "tests/fuzz/methods/loaded_build.h"
#include "tests/fuzz/support/checks.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/target.h"
#include "tests/support/plugin_under_test.h"

namespace {

// What is being run, for whoever reports a failure.
const fuzz::Case* underWay = nullptr;

fuzz::LoadedBuild& BuildOf(const std::string& level) {
    static std::map<std::string, fuzz::LoadedBuild> builds;
    return builds.try_emplace(level, contract::PluginOfLevel(level)).first->second;
}

}  // namespace

int LLVMFuzzerInitialize(int* /*argumentCount*/, char*** /*arguments*/) {
    fuzz::StopAtFailures(
        [] { return underWay == nullptr ? std::string("  none\n") : fuzz::Describe(*underWay); });
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const fuzz::Case value = fuzz::ReadCase(fuzz::Input({bytes, count}));
    if (fuzz::IsVerbose()) std::cerr << fuzz::Describe(value);
    underWay = &value;
    fuzz::Execute(value, BuildOf(value.level));
    underWay = nullptr;
    return 0;
}
