// What no method can avoid: moving the bytes of the job, and having a result made by the host.
// Blocks are warm and exist before, so that the copy is the fastest that there is.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "benchmarks/peers/peers.h"

namespace bench {

namespace {

class NoPicture final : public Result {
  public:
    Raster Colours() const override { return {}; }
};

// A copy reads and writes as many bytes as it moves, so it moves half of what the job touches.
Work CopyWork(const Job& job) {
    const auto count = static_cast<std::size_t>((BytesRead(job) + BytesWritten(job)) / 2);
    constexpr std::uint8_t anyByte = 85;
    const auto from = std::make_shared<std::vector<std::uint8_t>>(count, anyByte);
    const auto to = std::make_shared<std::vector<std::uint8_t>>(count, anyByte);
    return [from, to] {
        std::memcpy(to->data(), from->data(), to->size());
        // The compiler must not see that nobody reads the copy.
        asm volatile("" : : "r"(to->data()) : "memory");
        return std::make_unique<NoPicture>();
    };
}

}  // namespace

std::vector<Offer> YardstickOffers(const Job& job) {
    std::vector<Offer> offers;
    offers.push_back({copyName, Kinship::Yardstick, "as many bytes read and written as the job's",
                      Level::Baseline, [job](const Scene&) { return CopyWork(job); }});
    if (job.task != Task::Drawing) {
        offers.push_back(
            {emptyResultName, Kinship::Yardstick,
             "a picture for the result, made by the host and released", Level::Baseline,
             [](const Scene& scene) -> Work { return [&scene] { return scene.NewResult(); }; }});
    }
    return offers;
}

}  // namespace bench
