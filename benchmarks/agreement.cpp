// Compares pictures by the mean difference of their bytes. Rounding and 8-bit weights keep it below
// a level or so; another kernel, phase or edge on noise does not.
#include "benchmarks/agreement.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "workbench/reports/text_line.h"

namespace bench {

namespace {

constexpr double mostLevels = 1.5;

// The mean of how far bytes differ; infinite for pictures of different sizes.
double Difference(const Raster& left, const Raster& right) {
    if (left.size != right.size || left.bytes.size() != right.bytes.size())
        return std::numeric_limits<double>::infinity();
    double sum = 0;
    for (std::size_t index = 0; index < left.bytes.size(); ++index)
        sum += std::abs(int{left.bytes[index]} - int{right.bytes[index]});
    return sum / static_cast<double>(left.bytes.size());
}

Raster Run(const Offer& offer, const Scene& scene) {
    const Work work = offer.prepare(scene);
    return work()->Colours();
}

// Noise tells different weights from rounding; what only costs the same is compared where
// neighbours hardly differ.
PictureKind KindFor(Kinship kinship) {
    return kinship == Kinship::SameWork ? PictureKind::Gradient : PictureKind::Noise;
}

void RequireEquality(const Job& job, const Offer& offer) {
    if (*offer.difference == 0) return;
    throw std::runtime_error(NameOf(job) + ": " + offer.name +
                             " does not give the bytes of our lowest level");
}

const Offer& FirstOfOurs(const std::vector<Offer>& offers) {
    for (const Offer& offer : offers) {
        if (offer.kinship == Kinship::Ours) return offer;
    }
    throw std::logic_error("none of our levels takes part");
}

}  // namespace

std::vector<std::string> CheckAgreement(ResultPictures& results, const Job& job,
                                        std::vector<Offer>& offers) {
    std::vector<std::string> sentences;
    for (const PictureKind kind : {PictureKind::Noise, PictureKind::Gradient}) {
        const auto isLookedAt = [kind](const Offer& offer) {
            return Counts(offer.kinship) && KindFor(offer.kinship) == kind;
        };
        if (std::none_of(offers.begin(), offers.end(), isLookedAt)) continue;
        const Scene scene(results, job, kind);
        const Raster expected = Run(FirstOfOurs(offers), scene);
        for (Offer& offer : offers) {
            const bool ours = offer.kinship == Kinship::Ours;
            if (!ours && !isLookedAt(offer)) continue;
            offer.difference = Difference(Run(offer, scene), expected);
            if (ours) RequireEquality(job, offer);
            if (*offer.difference <= mostLevels) continue;
            offer.kinship = Kinship::Neighbour;
            sentences.push_back(NameOf(job) + ": " + offer.name + " (" + offer.reason +
                                ") differs by " + workbench::Fixed(*offer.difference, 1) +
                                " levels on average on " + NameOf(kind) + " and is not counted.");
        }
    }
    return sentences;
}

}  // namespace bench
