// Watches the memory that the plugin asks for, and refuses it where a test says so: the loaded
// library's own imports of the allocator are pointed here, so the host and the tests keep theirs.
// One watch at a time; it must end before the library is unloaded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <unordered_set>
#include <vector>

#include "workbench/host/plugin_library.h"

namespace contract {

class PluginAllocations {
  public:
    /// Starts watching a loaded library. Throws std::runtime_error if it does not import the
    /// allocator, so that no test watches nothing.
    explicit PluginAllocations(const workbench::PluginLibrary& library);
    PluginAllocations(const PluginAllocations&) = delete;
    PluginAllocations& operator=(const PluginAllocations&) = delete;
    ~PluginAllocations();

    /// Counts requests from 1 again and refuses the n-th of them; all later ones are granted.
    void FailOnly(std::uint64_t request);

    /// The same for two of them, or for one if they are the same.
    void FailBoth(std::uint64_t request, std::uint64_t other);

    /// Counts requests from 1 again and refuses the n-th of them and all that follow.
    void FailFrom(std::uint64_t request);

    /// Counts requests from 1 again and grants all.
    void GrantAll();

    /// From now on refuses every request for more bytes than this, besides those that are refused
    /// by their number: a machine with little memory.
    void RefuseAbove(std::size_t bytes) { mostGranted_ = bytes; }

    /// Requests since counting began, and how many of them were refused.
    std::uint64_t Requests() const { return requests_; }
    std::uint64_t Refused() const { return refused_; }

    /// Sizes in bytes of the requests since counting began.
    const std::vector<std::size_t>& Sizes() const { return sizes_; }

    /// Blocks that the plugin has and has not given back.
    std::size_t LiveBlocks() const;

    /// Frees the blocks that the plugin has not given back, which nothing may use any more: what a
    /// registration keeps for good would pile up in a process that loads plugins all day. They must
    /// be of the C allocator.
    void FreeKept();

    /// Called by the stand-ins for the allocator's functions.
    bool Grants(std::size_t size);

  private:
    void Patch(void** slot, void* standIn);
    void Restart(std::uint64_t first, std::uint64_t last);

    struct PatchedImport {
        void** slot;
        void* original;
    };
    std::vector<PatchedImport> patched_;
    std::unordered_set<const void*> blocksBefore_;  // kept by libraries that were watched earlier
    std::uint64_t requests_ = 0;
    std::uint64_t refused_ = 0;
    std::uint64_t firstRefused_ = 0;  // 0: none
    std::uint64_t lastRefused_ = 0;
    std::uint64_t alsoRefused_ = 0;
    std::size_t mostGranted_ = std::numeric_limits<std::size_t>::max();
    std::vector<std::size_t> sizes_;
};

}  // namespace contract
