// The rounds: A, B, C, A, B, C, … Short jobs run in batches, so that neither the clock nor a cold
// cache is what is measured; an offer that takes long sits out some of the rounds.
// The clock is the process's processor time, of all its threads: on a machine at rest that is the
// time that passes, and on a busy one it leaves out the others' turns.
#include "benchmarks/measurement.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <system_error>
#include <utility>

namespace bench {

namespace {

double ProcessorSeconds() {
    std::timespec time{};
    if (clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time) != 0)
        throw std::system_error(errno, std::generic_category(), "no clock for processor time");
    constexpr double nanosecond = 1e-9;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * nanosecond;
}

class Runner {
  public:
    Runner(const Offer& offer, const Scene& scene, const Effort& effort)
        : work_(offer.prepare(scene)) {
        double once = RunBatch();
        if (once < effort.secondsPerOffer) once = std::min(once, RunBatch());
        warmUps_ = once < longSeconds ? WarmUpsFor(once) : 0;
        batch_ = static_cast<std::size_t>(std::clamp(std::ceil(batchSeconds / once), 1.0, 64.0));
        const double callsPerTurn = static_cast<double>(batch_) + warmUps_;
        const double affordable = effort.secondsPerOffer / (once * callsPerTurn);
        const int rounds =
            std::clamp(static_cast<int>(std::min(affordable, 1e6)), 1, effort.mostRounds);
        stride_ = effort.mostRounds / rounds;
    }

    /// Takes its turn unless it has to sit this round out.
    void TakeTurn(int round) {
        if (round % stride_ != 0) return;
        // What lies in the caches is to be this offer's doing, not that of the one before it.
        for (int call = 0; call < warmUps_; ++call)
            work_();
        times_.push_back(RunBatch());
    }

    Times Finish() {
        std::sort(times_.begin(), times_.end());
        return {std::move(times_)};
    }

  private:
    static constexpr double batchSeconds = 1e-3;
    static constexpr double longSeconds = 0.05;

    /// The outermost cache takes in what falls out of the others, and so needs two calls. Where two
    /// pictures nearly fill it, it takes five until calls last alike: copies of 1920x1080 pixels
    /// that came first in a round would seem to take half as long again as the same copies after
    /// them.
    static int WarmUpsFor(double once) {
        constexpr double enoughSeconds = 5e-3;
        return static_cast<int>(std::clamp(std::ceil(enoughSeconds / once), 2.0, 5.0));
    }

    /// Seconds per call.
    double RunBatch() {
        const double start = ProcessorSeconds();
        for (std::size_t call = 0; call < batch_; ++call)
            work_();
        const double seconds = ProcessorSeconds() - start;
        return seconds / static_cast<double>(batch_);
    }

    Work work_;
    std::size_t batch_ = 1;
    int stride_ = 1;
    int warmUps_ = 0;
    std::vector<double> times_;
};

}  // namespace

std::vector<Entrant> Measure(const Scene& scene, const std::vector<Offer>& offers,
                             const Effort& effort) {
    std::vector<Runner> runners;
    runners.reserve(offers.size());
    for (const Offer& offer : offers)
        runners.emplace_back(offer, scene, effort);
    for (int round = 0; round < effort.mostRounds; ++round) {
        for (Runner& runner : runners)
            runner.TakeTurn(round);
    }
    std::vector<Entrant> entrants;
    for (std::size_t index = 0; index < offers.size(); ++index) {
        const Offer& offer = offers[index];
        entrants.push_back({offer.name, offer.kinship, offer.reason, offer.level, offer.difference,
                            runners[index].Finish()});
    }
    return entrants;
}

}  // namespace bench
