// The demonstration: the plugin's methods at work on a photo and on a test chart. This is the one
// place of the workbench, beside the help's examples, that knows methods by name; a method that the
// loaded plugin does not register is left out.
#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "workbench/commands/session.h"
#include "workbench/files/picture_files.h"
#include "workbench/reports/contact_sheet.h"

namespace workbench {

/// What the demonstration starts from.
struct DemonstrationSources {
    GdImage photo;      // 480 x 320
    GdImage photoPart;  // 48 x 48, out of it
};

/// Loads the photo. Throws FileError, which names the package to install if they are missing.
DemonstrationSources LoadSources();

/// Calls methods for the sheets and writes what comes out.
class Stage {
  public:
    /// The folder is made if it is missing. Throws FileError.
    Stage(Session& session, std::filesystem::path folder, const DemonstrationSources& sources);

    const DemonstrationSources& Sources() const { return sources_; }

    /// Whether the plugin registered the method.
    bool Has(std::string_view method) const;

    Held<Picture> NewPicture(const gdImage& image);

    /// Calls the method on the picture and returns what it returned, or else the receiver as it is
    /// then. `mask` (may be null) becomes the mask of the pictures that are drawn.
    GdImage Call(Picture& receiver, const std::string& call, Picture* mask = nullptr);

    /// The same on a new picture.
    GdImage Call(const gdImage& receiver, const std::string& call, Picture* mask = nullptr);

    /// Gives the picture the mask, as host code would assign it.
    void SetMask(Picture& picture, Picture& mask);

    /// Writes a picture into the demonstration's folder and returns its file.
    std::filesystem::path Write(const std::string& name, gdImage& image);

    /// Writes a result: a tile that shows it, and a file of its own whose name is made of `name`.
    Tile Result(std::string name, GdImage image, std::string label, std::string note = "");

    /// Writes the sheet; it is one of the files that are told at the end.
    void WriteSheet(const std::string& name, const ContactSheet& sheet);

    /// Says where everything is.
    void Report(std::ostream& output) const;

  private:
    Session& session_;
    std::filesystem::path folder_;
    const DemonstrationSources& sources_;
    std::vector<std::filesystem::path> sheets_;
    std::size_t results_ = 0;
};

/// A tile of a source, which is no result and becomes no file.
Tile SourceTile(const GdImage& image, std::string label, std::string note = "");

// The sheets. Each writes its results and one contact sheet, or nothing if the method is missing.
void ShowMethods(Stage& stage);
void ShowModes(Stage& stage);
void ShowBlur(Stage& stage);
void ShowDrawing(Stage& stage);
void ShowMasks(Stage& stage);

}  // namespace workbench
