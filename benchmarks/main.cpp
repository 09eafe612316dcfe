// The benchmark's program: prepares the machine, runs the jobs that are asked for, reports.
// Started by ./bench.
#include <algorithm>
#include <cctype>
#include <exception>
#include <iostream>
#include <iterator>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/agreement.h"
#include "benchmarks/jobs.h"
#include "benchmarks/machine.h"
#include "benchmarks/measurement.h"
#include "benchmarks/options.h"
#include "benchmarks/outcome.h"
#include "benchmarks/page.h"
#include "benchmarks/peers/peers.h"
#include "benchmarks/plugin_levels.h"
#include "benchmarks/report.h"

namespace bench {

namespace {

constexpr Effort fullEffort{0.5, 15};
constexpr Effort quickEffort{0.2, 5};
constexpr Effort rematchEffort{1.5, 45};

bool Contains(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// The builds asked for; else all levels that the machine can run, or what is shipped where no
// build has a level of its own.
std::vector<PluginBuild> ChooseBuilds(const std::vector<std::string>& names) {
    const std::vector<PluginBuild> existing = ExistingBuilds();
    std::vector<PluginBuild> chosen;
    for (const PluginBuild& build : existing) {
        const bool runs = !build.level || *build.level <= HighestLevel();
        const bool wanted = names.empty() ? build.level.has_value() : Contains(names, build.name);
        if (wanted && !runs)
            std::cerr << "This machine cannot run " << build.name << "; it is left out.\n";
        if (wanted && runs) chosen.push_back(build);
    }
    for (const std::string& name : names) {
        if (std::none_of(existing.begin(), existing.end(),
                         [&name](const PluginBuild& build) { return build.name == name; }))
            throw std::runtime_error("there is no level " + name);
    }
    if (names.empty() && chosen.empty()) chosen.push_back(existing.back());
    if (chosen.empty()) throw std::runtime_error("no level is left to measure");
    return chosen;
}

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

std::vector<Job> ChooseJobs(const std::string& filter) {
    std::vector<Job> jobs = AllJobs();
    std::erase_if(jobs, [part = LowerCase(filter)](const Job& job) {
        return LowerCase(NameOf(job)).find(part) == std::string::npos;
    });
    if (jobs.empty()) throw std::runtime_error("no job has that text in its name");
    return jobs;
}

using Plugins = std::vector<LoadedPlugin>;

std::vector<Offer> OffersFor(const Job& job, const Plugins& plugins) {
    std::vector<Offer> offers;
    for (const LoadedPlugin& plugin : plugins)
        offers.push_back(plugin.OfferFor(job));
    for (const Peer peer : allPeers) {
        std::vector<Offer> theirs = peer(job);
        std::move(theirs.begin(), theirs.end(), std::back_inserter(offers));
    }
    std::erase_if(offers, [](const Offer& offer) { return offer.level > HighestLevel(); });
    return offers;
}

std::vector<Offer> OursAmong(std::vector<Offer> offers) {
    std::erase_if(offers, [](const Offer& offer) { return offer.kinship != Kinship::Ours; });
    return offers;
}

Outcome RunJob(ResultPictures& results, const Job& job, const Plugins& plugins, bool quick,
               std::vector<std::string>& remarks) {
    std::vector<Offer> offers = OffersFor(job, plugins);
    const std::vector<std::string> disagreements = CheckAgreement(results, job, offers);
    remarks.insert(remarks.end(), disagreements.begin(), disagreements.end());
    Outcome outcome{job, {}};
    for (const PictureKind kind : allKinds) {
        if (quick && kind != PictureKind::Noise) continue;
        const Scene scene(results, job, kind);
        Contest contest{kind, Measure(scene, offers, quick ? quickEffort : fullEffort), {}};
        if (!quick && contest.HasSlowerLevel())
            contest.rematch = Measure(scene, OursAmong(offers), rematchEffort);
        outcome.contests.push_back(std::move(contest));
    }
    return outcome;
}

void PrintDetails(const Outcome& outcome) {
    for (const Contest& contest : outcome.contests) {
        std::cout << NameOf(outcome.job) << ", on " << NameOf(contest.kind) << "\n";
        Print(std::cout, ContenderTable(contest));
        std::cout << std::endl;
    }
}

void PrintReport(const std::vector<Outcome>& outcomes, const std::vector<std::string>& levels,
                 const std::vector<std::string>& remarks) {
    Print(std::cout, GoalTable(outcomes, levels));
    std::cout << "\n";
    for (const auto& lines : {Legend(), remarks, GoalsReached(outcomes, levels)}) {
        for (const std::string& line : lines)
            std::cout << line << "\n";
        if (!lines.empty()) std::cout << "\n";
    }
}

void Run(const Options& options) {
    const std::vector<Job> jobs = ChooseJobs(options.filter);
    const std::vector<PluginBuild> builds = ChooseBuilds(options.levels);
    PinToOneCore();
    if (!options.freshResults) KeepFreedMemory();
    // The libraries of the plugin outlive the host, which outlives their pictures.
    Plugins plugins;
    workbench::Host host;
    ResultPictures results(host,
                           options.freshResults ? ResultMemory::Fresh : ResultMemory::Recycled);
    std::vector<std::string> levels;
    for (const PluginBuild& build : builds) {
        plugins.emplace_back(host, build);
        levels.push_back(build.name);
    }
    std::vector<Outcome> outcomes;
    std::vector<std::string> remarks;
    for (const Job& job : jobs) {
        std::cerr << outcomes.size() + 1 << " of " << jobs.size() << ": " << NameOf(job) << "\n";
        outcomes.push_back(RunJob(results, job, plugins, options.quick, remarks));
        if (options.details) PrintDetails(outcomes.back());
    }
    const auto slower = SlowerThanLevelBelow(outcomes);
    remarks.insert(remarks.end(), slower.begin(), slower.end());
    PrintReport(outcomes, levels, remarks);
    if (!options.write) return;
    WritePage("docs", outcomes, levels,
              {ProcessorModel(),
               {OpenCvVersion(), LibyuvVersion(), ZimgVersion(), PixmanVersion(), LibgdVersion(),
                PillowVersion()},
               remarks,
               options.freshResults});
}

}  // namespace

}  // namespace bench

int main(int count, char** arguments) {
    const bench::ParsedOptions parsed = bench::ParseOptions(count, arguments);
    if (parsed.exitStatus) return *parsed.exitStatus;
    try {
        bench::Run(parsed.options);
    } catch (const std::exception& error) {
        std::cerr << "The benchmark stopped: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
