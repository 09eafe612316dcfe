// Encodes image files by libgd: PNG, JPEG, WebP and BMP, chosen by the file's extension.
// Used by the command line; everything that cannot be written becomes a FileError.
#pragma once

#include <gd.h>

#include <filesystem>
#include <functional>

namespace workbench {

enum class OutputFormat { Png, Jpeg, WebP, Bmp };

/// The format that the extension stands for, in any case of letters. Throws FileError for another.
OutputFormat OutputFormatOf(const std::filesystem::path& file);

/// Whether a file of the format keeps an alpha channel.
bool KeepsAlpha(OutputFormat format);

/// Throws FileError if the file could not be written: an unknown extension, a missing folder, no
/// right to write. Writes nothing. To be called before a long computation.
void CheckOutput(const std::filesystem::path& file);

/// Writes the truecolor image; its alpha is written when `saveAlphaFlag` is set and the format
/// keeps it. PNG, WebP and BMP files hold exactly the pixels given. `beforeRename` is called when
/// everything is written and before the file appears; what it throws keeps it from appearing.
/// Throws FileError; nothing is left behind then.
void EncodeFile(gdImage& image, const std::filesystem::path& file,
                const std::function<void()>& beforeRename = {});

}  // namespace workbench
