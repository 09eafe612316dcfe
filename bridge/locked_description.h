// Ownership of one lock on a picture's description, for code that looks at a picture's memory
// without an editor.
#pragma once

#include "bridge/host_services.h"

namespace zvk {

// Locks a picture's description for its own life and unlocks exactly what it locked.
class LockedDescription {
  public:
    // Asks the host to describe `picture` as `kind`.
    LockedDescription(REALpicture picture, REALdescriptionKind kind)
        : picture_(picture),
          locked_(REALLockPictureDescription(picture, &description_,
                                             static_cast<REALinteger>(kind)) != 0) {}

    LockedDescription(const LockedDescription&) = delete;
    LockedDescription& operator=(const LockedDescription&) = delete;

    ~LockedDescription() {
        if (locked_) REALUnlockPictureDescription(picture_);
    }

    // Whether the host locked the description; only then does it say anything.
    bool IsLocked() const { return locked_; }
    const REALpictureDescription& description() const { return description_; }

  private:
    REALpicture picture_;
    REALpictureDescription description_{};
    bool locked_;
};

}  // namespace zvk
