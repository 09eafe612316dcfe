// The libraries that the methods are compared with, one file each.
// A new peer is a file with one such function and a line in allPeers.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "benchmarks/offer.h"

namespace bench {

std::vector<Offer> OpenCvOffers(const Job& job);
std::vector<Offer> LibyuvOffers(const Job& job);
std::vector<Offer> ZimgOffers(const Job& job);
std::vector<Offer> PixmanOffers(const Job& job);
std::vector<Offer> LibgdOffers(const Job& job);
std::vector<Offer> PillowOffers(const Job& job);

/// The copy and the empty result that times are set in relation to.
std::vector<Offer> YardstickOffers(const Job& job);

inline constexpr std::array<Peer, 7> allPeers{YardstickOffers, OpenCvOffers, LibyuvOffers,
                                              ZimgOffers,      PixmanOffers, LibgdOffers,
                                              PillowOffers};

/// The name of the copy among the offers, and of the empty result.
inline constexpr const char* copyName = "memcpy";
inline constexpr const char* emptyResultName = "empty result";

// Each library's name with its version.
std::string OpenCvVersion();
std::string LibyuvVersion();
std::string ZimgVersion();
std::string PixmanVersion();
std::string LibgdVersion();
std::string PillowVersion();

}  // namespace bench
