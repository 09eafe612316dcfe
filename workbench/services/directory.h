// Where the plugin's resolver finds the services.
// Used by the host alone.
#pragma once

#include <utility>

#include "hostapi/host_types.h"

namespace workbench {

/// The function of the service of that name; null if there is none or it is made to be missing.
REALfunction Resolve(const char* name);

/// Marks a stretch of the host's own work, or of the program's within it.
class ServingScope {
  public:
    explicit ServingScope(bool serving) : before_(std::exchange(serving_, serving)) {}
    ServingScope(const ServingScope&) = delete;
    ServingScope& operator=(const ServingScope&) = delete;
    ~ServingScope() { serving_ = before_; }

    static bool IsServing() { return serving_; }

  private:
    static inline bool serving_ = false;
    bool before_;
};

}  // namespace workbench
