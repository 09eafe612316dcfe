// The host's pictures for one case. Used while the case's session lives.
#pragma once

#include "tests/fuzz/methods/case.h"
#include "tests/support/session.h"

namespace fuzz {

using contract::Held;
using contract::Picture;
using contract::Session;

struct Scene {
    Held<Picture> memory;  // that the others are windows of, if any
    Held<Picture> receiver;
    Held<Picture> picture;  // to be drawn; empty if it is the receiver, or for another method
    Held<Picture> mask;
    Held<Picture> bystander;  // for calls from inside a yield

    /// The picture to be drawn.
    Picture& Drawn() const { return picture ? *picture : *receiver; }

    /// The receiver and what else the method may read.
    std::vector<Picture*> All() const;

    /// Gives back what a program may let go of while a method is at work.
    void LetGo();
};

/// Makes the pictures and fills them.
Scene MakeScene(Session& session, const Case& value);

/// Writes other pixels, each time others.
void ChangePixels(const Scene& scene, std::uint64_t seed);

}  // namespace fuzz
