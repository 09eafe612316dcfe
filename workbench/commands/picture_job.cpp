// Loads a picture, makes the calls one on the result of another, writes what came out.
#include "workbench/commands/picture_job.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "workbench/commands/interruption.h"
#include "workbench/files/encoding.h"
#include "workbench/files/picture_files.h"
#include "workbench/reports/text_line.h"

namespace workbench {

PictureJob::PictureJob(Session& session, const Options& options, const Environment& environment)
    : session_(session),
      environment_(environment),
      progress_(environment.errorsAreSeen ? &environment.errors : nullptr) {
    const std::vector<CheckedCall> checked = CheckCalls(session, options.calls);
    Host& host = session.RunningHost();
    if (!options.mask.empty()) mask_ = LoadMask(host, options.mask);
    // The mask belongs to what is drawn; where nothing is drawn, to what is scaled.
    masksInput_ = mask_ && std::none_of(checked.begin(), checked.end(),
                                        [](const auto& call) { return call.DrawsAPicture(); });
    for (const CheckedCall& call : checked)
        calls_.emplace_back(host, call, mask_ ? &*mask_ : nullptr);
    host.OnYield([this] { Yielded(); });
}

void PictureJob::Yielded() {
    Interruption::Check();
    ++yields_;
    progress_.Update(std::to_string(yields_) + (yields_ == 1 ? " yield" : " yields"));
}

Held<Picture> PictureJob::Load(const std::filesystem::path& input) {
    Host& host = session_.RunningHost();
    Held<Picture> picture = LoadPicture(host, input);
    if (masksInput_) host.SetMask(*picture, &*mask_);
    return picture;
}

void PictureJob::Run(const std::filesystem::path& input, const std::filesystem::path& output) {
    Interruption::Check();
    CheckOutput(output);
    Held<Picture> picture = Load(input);
    for (const LoadedCall& call : calls_) {
        yields_ = 0;
        progress_.Begin(progressName_.empty() ? call.Checked().text : progressName_);
        CallResult result = RunCall(session_, call, *picture);
        if (result.picture) picture = std::move(result.picture);
        if (!result.shown.empty())
            environment_.output << OneLine(call.Checked().text + " = " + result.shown) << '\n';
    }
    const std::string size =
        std::to_string(picture->Width()) + " x " + std::to_string(picture->Height());
    SavePicture(*picture, output, Interruption::Check);
    progress_.Wipe();
    environment_.output << OneLine(output.string()) << ": " << size << " pixels\n";
}

}  // namespace workbench
