// The pictures of one job: host pictures that every contender reads in place or copies beforehand.
// Made before anything is timed and kept until the job is done.
#pragma once

#include <memory>
#include <utility>

#include "benchmarks/job.h"
#include "benchmarks/picture_kinds.h"
#include "benchmarks/pixels.h"
#include "benchmarks/result.h"
#include "benchmarks/result_pictures.h"
#include "workbench/host/host.h"

namespace bench {

/// The memory of a host picture without padding, bytes red, green, blue, alpha.
Pixels PixelsOf(workbench::Picture& picture);

/// A result in a host picture.
class PictureResult final : public Result {
  public:
    explicit PictureResult(workbench::Held<workbench::Picture> picture)
        : picture_(std::move(picture)) {}

    Pixels Memory() const { return PixelsOf(*picture_); }
    Raster Colours() const override;

  private:
    workbench::Held<workbench::Picture> picture_;
};

/// A picture that is drawn upon: made once, drawn upon again and again.
class Canvas {
  public:
    explicit Canvas(workbench::Held<workbench::Picture> picture) : picture_(std::move(picture)) {}

    REALpicture Handle() const { return picture_.Handle(); }
    Pixels Memory() const { return PixelsOf(*picture_); }

    /// The canvas as it is, not a copy; the canvas must outlive it.
    std::unique_ptr<Result> AsResult() const;

  private:
    workbench::Held<workbench::Picture> picture_;
};

class Scene {
  public:
    /// The pictures for results, and so the host, must outlive the scene.
    Scene(ResultPictures& results, const Job& job, PictureKind kind);

    workbench::Host& TheHost() const { return results_.TheHost(); }
    const Job& TheJob() const { return job_; }
    REALpicture SourceHandle() const { return source_.Handle(); }
    Pixels Source() const { return PixelsOf(*source_); }

    /// The mask, white where transparent; without data if the job has none.
    Pixels Mask() const { return mask_ ? PixelsOf(*mask_) : Pixels{}; }

    /// A new host picture of the target's size, as our methods get theirs.
    std::unique_ptr<PictureResult> NewResult() const;

    /// A new picture to draw upon, the same every time.
    std::shared_ptr<Canvas> NewCanvas() const;

  private:
    workbench::Held<workbench::Picture> NewPicture(Size size) const;

    ResultPictures& results_;
    Job job_;
    PictureKind kind_;
    workbench::Held<workbench::Picture> source_;
    workbench::Held<workbench::Picture> mask_;
};

}  // namespace bench
