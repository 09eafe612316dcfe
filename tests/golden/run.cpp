// One host, one freshly loaded plugin, one call. Rows of pictures have padding and stand against
// guard pages.
#include "tests/golden/run.h"

#include <iomanip>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>
#include <variant>

#include "tests/support/pixels.h"
#include "workbench/host/host.h"
#include "workbench/plugins/open_plugin.h"

namespace golden {
namespace {

using workbench::Held;
using workbench::Host;
using workbench::Picture;

constexpr int console = 8;

workbench::HostSettings SettingsFor(const Case& item, std::string& report) {
    workbench::HostSettings settings;
    settings.guardPages = true;
    if (item.layouts.made == console) {
        settings.runtime = workbench::Runtime::Console;
    } else {
        settings.layout = item.layouts.made;
        settings.rowPadding = 12;
    }
    settings.onUnclean = [&report](const std::string& text) { report = text; };
    return settings;
}

workbench::PictureOptions Sized(Size size) {
    workbench::PictureOptions options;
    options.width = size.width;
    options.height = size.height;
    return options;
}

// The content's alpha. What carries masks draws pictures; drawing rounds colours that are neither
// opaque nor transparent, which is the host's business and none of these results.
Alpha AlphaFor(const Case& item) {
    const auto* const scaling = std::get_if<Scaling>(&item.call);
    if (scaling == nullptr || !scaling->withMask) return Alpha::Varied;
    return item.layouts.alphaChannel ? Alpha::Perforated : Alpha::Opaque;
}

// The pictures of a case, its host and its plugin.
class Stage {
  public:
    Stage(const Case& item, const std::filesystem::path& plugin, std::string& report)
        : case_(item),
          pluginFile_(plugin),
          library_(workbench::OpenPlugin(plugin)),
          host_(std::make_unique<Host>(SettingsFor(item, report))) {
        host_->LoadPlugin(*library_);
        const auto problems = host_->RegistrationProblems();
        if (!problems.empty())
            throw workbench::PluginError(plugin.string() + ": " + problems.front());
        constexpr std::uint64_t second = 1'000'000'000;
        host_->Time().Set(second);
        host_->Time().AdvanceAtEachReading(second);
        picture_ = MakeSource();
        MakeMask();
        if (const auto* const drawing = std::get_if<Drawing>(&item.call))
            receiver_ = Make(Sized(drawing->receiver), Alpha::Varied, receiverSeed);
    }

    Inputs Before() const {
        Inputs inputs{contract::ImageOf(*picture_), std::nullopt, std::nullopt};
        if (receiver_) inputs.receiver = contract::ImageOf(*receiver_);
        if (mask_) inputs.mask = contract::ImageOf(*mask_);
        if (case_.layouts.alphaChannel && AlphaFor(case_) == Alpha::Perforated)
            inputs.mask = contract::ImageOf(*host_->CopyMask(*picture_));
        return inputs;
    }

    // Calls the method and looks at what it gives.
    void Perform(Outcome& outcome) {
        host_->Failing().ForgetCalls();
        std::visit([&](const auto& call) { Take(outcome, call); }, case_.call);
        outcome.yields = host_->Calls(workbench::Service::REALYieldToRB);
        if (host_->TakeException()) outcome.failure = "exception";
    }

  private:
    // Far from the seeds of cases, so that no two pictures of a case are alike.
    static constexpr std::uint64_t maskSeed = 1'000'000;
    static constexpr std::uint64_t receiverSeed = 2'000'000;

    Held<Picture> Make(const workbench::PictureOptions& options, Alpha alpha,
                       std::uint64_t otherSeed) {
        auto picture = host_->CreatePicture(options);
        Write(InLayout(Paint(case_.content, alpha, options.width, options.height,
                             case_.seed + otherSeed),
                       picture->Layout()),
              *picture);
        return picture;
    }

    Held<Picture> MakeSource() {
        workbench::PictureOptions options = Sized(case_.size);
        options.alphaChannel = case_.layouts.alphaChannel;
        if (case_.layouts.source != console && !options.alphaChannel)
            options.layout = case_.layouts.source;
        return Make(options, AlphaFor(case_), 0);
    }

    void MakeMask() {
        if (!case_.mask) return;
        mask_ = Make(Sized(*case_.mask), AlphaFor(case_), maskSeed);
        host_->SetMask(*picture_, &*mask_);
    }

    template <typename Signature>
    Signature* Method(std::string_view name) const {
        for (const workbench::RegisteredMethod& method : host_->Methods()) {
            if (method.declaration.starts_with(name) && method.declaration[name.size()] == '(')
                return reinterpret_cast<Signature*>(method.function);
        }
        throw workbench::PluginError(pluginFile_.string() + " registers no method " +
                                     std::string(name));
    }

    void Take(Outcome& outcome, const Resampling& call) {
        using Signature =
            REALpicture(REALpicture, REALinteger, REALinteger, REALinteger, REALinteger);
        TakePicture(outcome,
                    Method<Signature>("ScalingZVK")(picture_.Handle(), call.mode, call.to.width,
                                                    call.to.height, case_.yield));
    }

    void Take(Outcome& outcome, const Scaling& call) {
        using Signature =
            REALpicture(REALpicture, REALinteger, REALinteger, REALboolean, REALinteger);
        auto* const method = Method<Signature>(call.withMask ? "ScaleImageAndMaskZVK" : "ScaleZVK");
        TakePicture(outcome, method(picture_.Handle(), call.to.width, call.to.height,
                                    call.antiAlias ? 1 : 0, case_.yield));
    }

    void Take(Outcome& outcome, const Blurring& call) {
        using Signature = REALpicture(REALpicture, double, REALinteger);
        TakePicture(outcome,
                    Method<Signature>("BlurZVK")(picture_.Handle(), call.radius, case_.yield));
    }

    void Take(Outcome& outcome, const Drawing& call) {
        using Signature =
            REALboolean(REALpicture, REALpicture, double, double, double, REALinteger);
        const REALboolean drawn = Method<Signature>("DrawPictureFZVK")(
            receiver_.Handle(), picture_.Handle(), call.x, call.y, call.alpha, case_.yield);
        if (drawn == 0)
            outcome.failure = "false";
        else
            TakeResults(outcome, *receiver_);
    }

    void TakePicture(Outcome& outcome, REALpicture returned) {
        const auto picture = host_->Adopt(returned);
        if (picture)
            TakeResults(outcome, *picture);
        else
            outcome.failure = "nil";
    }

    static void TakeResults(Outcome& outcome, const Picture& picture) {
        const bool intact = picture.PaddingIsIntact() &&
                            (picture.Mask() == nullptr || picture.Mask()->PaddingIsIntact());
        if (!intact) outcome.failure = "overrun";
        outcome.results.picture = PixelsOf(contract::ImageOf(picture));
        if (picture.Mask() != nullptr)
            outcome.results.mask = PixelsOf(contract::ImageOf(*picture.Mask()));
    }

    const Case& case_;
    const std::filesystem::path& pluginFile_;
    // The library outlives the host, which outlives its pictures.
    std::unique_ptr<workbench::PluginLibrary> library_;
    std::unique_ptr<Host> host_;
    Held<Picture> picture_;
    Held<Picture> mask_;
    Held<Picture> receiver_;
};

std::string InHex(std::uint32_t checksum) {
    std::ostringstream text;
    text << std::hex << std::setfill('0') << std::setw(8) << checksum;
    return text.str();
}

}  // namespace

Outcome RunCase(const Case& item, const std::filesystem::path& plugin) {
    Outcome outcome;
    {
        Stage stage(item, plugin, outcome.report);
        outcome.inputs = stage.Before();
        stage.Perform(outcome);
    }
    if (!outcome.report.empty()) outcome.failure = "leftover";
    return outcome;
}

std::string Checksum(const Outcome& outcome) {
    return outcome.failure.empty() ? Checksum(outcome.results) : outcome.failure;
}

std::string Checksum(const Results& results) {
    const std::string picture = InHex(Crc(results.picture));
    return results.mask ? picture + "+" + InHex(Crc(*results.mask)) : picture;
}

}  // namespace golden
