// The least that a host can be: a resolver over a few services, pictures that are plain structs,
// and counters. It stands in a program that has none of the platform's functions, to show what the
// plugin does without them; the workbench cannot, because it always offers stand-ins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hostapi/host_records.h"
#include "hostapi/host_types.h"

namespace platform_absent {

/// A picture with both kinds of description to offer. Handles are addresses of these.
class TinyPicture {
  public:
    TinyPicture(int width, int height);
    TinyPicture(const TinyPicture&) = delete;
    TinyPicture& operator=(const TinyPicture&) = delete;
    ~TinyPicture();

    REALpicture Handle();
    static TinyPicture& Of(REALpicture handle);

    std::uint32_t& At(int column, int row) {
        return rows_.at(static_cast<std::size_t>(row)).at(static_cast<std::size_t>(column));
    }

    /// Fills in a description of the kind that the host offers.
    void Describe(REALpictureDescription& description, REALdescriptionKind kind);

    int references = 1;
    int locks = 0;

  private:
    std::vector<std::vector<std::uint32_t>> rows_;
    std::vector<int*> rowTable_;
    REALconsoleImage image_{};
    REALpictureStruct handle_;
};

/// The current host; every member is plain state for a test to read and set.
struct TinyHost {
    REALdescriptionKind kind = REALdescriptionKind::ConsoleImage;
    std::vector<std::unique_ptr<TinyPicture>> created;
    int locksGranted = 0;
    int locksReturned = 0;
    int yields = 0;
    REALfunction scaling = nullptr;  // the method that the plugin registered
};

/// Loads the plugin afresh and makes `host` the current host. Throws std::runtime_error if the
/// plugin does not load or does not register ScalingZVK.
class LoadedPlugin {
  public:
    explicit LoadedPlugin(TinyHost& host);
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;
    ~LoadedPlugin();

    REALpicture Scaling(REALpicture picture, std::int64_t mode, std::int64_t width,
                        std::int64_t height, std::int64_t yield) const;

  private:
    void* library_;
};

}  // namespace platform_absent
