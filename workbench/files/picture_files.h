// Host pictures from files and into files. Used by the command line; a large picture is never
// held twice: a console picture is the decoded image itself, a desktop picture takes its memory
// while the image's is given back, and either is written from its own.
#pragma once

#include <filesystem>
#include <functional>

#include "workbench/files/decoding.h"
#include "workbench/host/host.h"

namespace workbench {

/// A new picture of the host with the file's pixels: one with an alpha channel if the file has any
/// transparency, else a plain one. Throws FileError.
Held<Picture> LoadPicture(Host& host, const std::filesystem::path& file);

/// A new plain picture with the file's pixels, on white where the file is transparent: for use as
/// a mask, where white means transparent. Throws FileError.
Held<Picture> LoadMask(Host& host, const std::filesystem::path& file);

/// Writes what a viewer of the picture would see: colours, and where the format keeps it the alpha
/// channel and the mask as transparency. A format without alpha gets the picture on white. The
/// picture's memory is turned into the file's form in place: its pixels mean nothing afterwards.
/// `beforeRename` as in EncodeFile. Throws FileError.
void SavePicture(Picture& picture, const std::filesystem::path& file,
                 const std::function<void()>& beforeRename = {});

/// A new picture of the host with the truecolor image's pixels: with an alpha channel if the image
/// is to be saved with alpha. Throws std::bad_alloc.
Held<Picture> PictureFrom(Host& host, const gdImage& image);

/// A truecolor copy of the picture, mask and alpha channel as transparency.
GdImage CopyPicture(const Picture& picture);

}  // namespace workbench
