// The stage on which the sheets are made: sources, calls, files.
#include "workbench/commands/demonstration.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <system_error>
#include <utility>

#include "workbench/commands/call_run.h"
#include "workbench/commands/interruption.h"
#include "workbench/files/encoding.h"
#include "workbench/files/file_error.h"
#include "workbench/reports/text_line.h"

namespace workbench {
namespace {

namespace fs = std::filesystem;

GdImage LoadPhoto() {
    const fs::path file = "/usr/share/xplanet/images/earth.jpg";
    if (!fs::exists(file)) throw FileError(file, "is missing; it is in the package xplanet-images");
    return DecodeFile(file, std::numeric_limits<std::size_t>::max()).image;
}

GdImage Copied(const gdImage& image) {
    return Cropped(image, 0, 0, image.sx, image.sy);
}

}  // namespace

DemonstrationSources LoadSources() {
    const GdImage earth = LoadPhoto();
    return {Cropped(*earth, 1000, 190, 480, 320), Cropped(*earth, 1084, 252, 48, 48)};
}

Stage::Stage(Session& session, fs::path folder, const DemonstrationSources& sources)
    : session_(session), folder_(std::move(folder)), sources_(sources) {
    std::error_code error;
    fs::create_directories(folder_ / "results", error);
    if (error) throw FileError(folder_, "cannot be created: " + error.message());
    session.RunningHost().OnYield(Interruption::Check);
}

bool Stage::Has(std::string_view method) const {
    const std::vector<Declaration>& all = session_.Declarations();
    return std::any_of(all.begin(), all.end(), [&](const Declaration& declaration) {
        return SameName(declaration.name, method);
    });
}

Held<Picture> Stage::NewPicture(const gdImage& image) {
    return PictureFrom(session_.RunningHost(), image);
}

GdImage Stage::Call(Picture& receiver, const std::string& call, Picture* mask) {
    Interruption::Check();
    const LoadedCall loaded(session_.RunningHost(), CheckCall(session_, call), mask);
    const CallResult result = RunCall(session_, loaded, receiver);
    return CopyPicture(result.picture ? *result.picture : receiver);
}

GdImage Stage::Call(const gdImage& receiver, const std::string& call, Picture* mask) {
    const Held<Picture> picture = NewPicture(receiver);
    return Call(*picture, call, mask);
}

void Stage::SetMask(Picture& picture, Picture& mask) {
    session_.RunningHost().SetMask(picture, &mask);
}

fs::path Stage::Write(const std::string& name, gdImage& image) {
    fs::path file = folder_ / (name + ".png");
    EncodeFile(image, file, Interruption::Check);
    return file;
}

Tile Stage::Result(std::string name, GdImage image, std::string label, std::string note) {
    const std::string_view ordinary =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-";
    std::replace_if(
        name.begin(), name.end(),
        [&](char letter) { return ordinary.find(letter) == std::string_view::npos; }, '-');
    Write("results/" + name, *image);
    ++results_;
    return {std::move(image), std::move(label), std::move(note)};
}

void Stage::WriteSheet(const std::string& name, const ContactSheet& sheet) {
    const GdImage image = sheet.Draw();
    sheets_.push_back(Write(name, *image));
}

void Stage::Report(std::ostream& output) const {
    for (const fs::path& sheet : sheets_)
        output << OneLine(sheet.string()) << '\n';
    output << results_ << " single results: " << OneLine((folder_ / "results").string()) << '\n';
}

Tile SourceTile(const GdImage& image, std::string label, std::string note) {
    return {Copied(*image), std::move(label), std::move(note)};
}

}  // namespace workbench
