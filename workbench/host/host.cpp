// The host's life, its own view of pictures and exceptions, and its report at the end.
// Services do their work in services/; they and the program come here for everything shared.
#include "workbench/host/host.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "workbench/objects/object_store.h"
#include "workbench/pictures/masks.h"
#include "workbench/services/directory.h"

namespace workbench {

namespace {

Host* current = nullptr;

void StopUnclean(const std::string& report) {
    std::fprintf(stderr, "The host was left unclean:\n%s", report.c_str());
    std::abort();
}

}  // namespace

Host::Host(HostSettings settings)
    : settings_(std::move(settings)),
      registration_(settings_.version),
      objects_(std::make_unique<ObjectStore>(ledger_)) {
    if (current != nullptr) throw std::logic_error("there is a host already");
    if (settings_.layout < 1 || settings_.layout > 6) {
        throw std::invalid_argument("layouts of bitmap contexts are 1 to 6");
    }
    if (settings_.rowPadding % sizeof(std::uint32_t) != 0) {
        throw std::invalid_argument("row padding is a multiple of 4 bytes");
    }
    for (const std::string& name : settings_.missingServices) {
        const auto service = FindService(name);
        if (!service) throw std::invalid_argument("no service is named " + name);
        faults_.Remove(*service);
    }
    if (!settings_.version) faults_.Remove(Service::REALGetRBVersion);
    if (!settings_.onUnclean) settings_.onUnclean = StopUnclean;
    current = this;
}

Host::~Host() {
    onYield_ = nullptr;
    faults_.SetHook(nullptr);
    if (!ledger_.IsClean()) settings_.onUnclean(ledger_.Report());
    objects_->WriteOff();
    current = nullptr;
}

Host* Host::Current() {
    return current;
}

bool Host::IsServing() {
    return ServingScope::IsServing();
}

REALresolver Host::Resolver() {
    return &Resolve;
}

void Host::LoadPlugin(const PluginLibrary& library) {
    pluginLoaded_ = true;
    library.EntryPoint()(Resolver());
}

std::vector<std::string> Host::RegistrationProblems() const {
    std::vector<std::string> problems = registration_.Problems();
    if (pluginLoaded_ && problems.empty() && Methods().empty()) {
        problems.emplace_back("the plugin registered nothing");
    }
    return problems;
}

Held<Picture> Host::CreatePicture(const PictureOptions& options) {
    auto picture = std::make_unique<Picture>();
    picture->Construct(options, settings_);
    return objects_->Keep<Picture>(std::move(picture), theProgram);
}

Held<Picture> Host::AdoptImage(OwnedImage image, bool alphaChannel) {
    auto picture = std::make_unique<Picture>();
    picture->Adopt(std::move(image), alphaChannel);
    return objects_->Keep<Picture>(std::move(picture), theProgram);
}

Held<Text> Host::CreateText(std::string bytes, REALencoding encoding) {
    return objects_->Make<Text>(theProgram, std::move(bytes), encoding);
}

Held<Picture> Host::Adopt(REALpicture picture) {
    return Held<Picture>(Find(picture) == nullptr ? nullptr : picture);
}

Held<Text> Host::Adopt(REALstring string) {
    return Held<Text>(Find(string) == nullptr ? nullptr : string);
}

Picture* Host::Find(REALpicture picture, Origin origin) {
    return objects_->Find<Picture>(picture, origin);
}

Text* Host::Find(REALstring string, Origin origin) {
    return objects_->Find<Text>(string, origin);
}

void Host::SetMask(Picture& picture, Picture* mask) {
    if (picture.HasAlphaChannel()) {
        TakeAlphaFromMask(picture, mask);
        return;
    }
    for (const Picture* link = mask; link != nullptr; link = link->Mask()) {
        if (link != &picture) continue;
        Raise("RuntimeException", "A picture cannot be its own mask.");
        return;
    }
    constexpr Origin holder = "the picture it masks";
    if (mask != nullptr) objects_->AddReference(mask->Address(), holder);
    picture.SetMask(Held<Picture>(mask == nullptr ? nullptr : mask->Address(), holder));
}

Held<Picture> Host::CopyMask(const Picture& picture) {
    const Picture* mask = picture.Mask();
    if (!picture.HasAlphaChannel() && mask == nullptr) return {};
    PictureOptions options;
    const Picture& pattern = picture.HasAlphaChannel() ? picture : *mask;
    options.width = pattern.Width();
    options.height = pattern.Height();
    Held<Picture> copy = CreatePicture(options);
    if (picture.HasAlphaChannel()) {
        ShowAlphaAsMask(*copy, picture);
        return copy;
    }
    std::vector<Color> row(static_cast<std::size_t>(mask->Width()));
    for (int y = 0; y < mask->Height(); ++y) {
        mask->ReadRow(y, row);
        copy->WriteRow(y, row);
    }
    return copy;
}

void Host::Raise(std::string_view className, std::string message) {
    const auto known = FindExceptionClass(className);
    if (!known) throw std::invalid_argument("no exception class " + std::string(className));
    auto exception = objects_->Make<ExceptionInstance>("the host", *known);
    exception->message = objects_->Make<Text>("the host", std::move(message), REALencoding::Utf8);
    raised_.push_back(std::move(exception));
}

void Host::Raise(ExceptionInstance& exception, Origin origin) {
    objects_->AddReference(exception.Address(), origin);
    raised_.emplace_back(exception.Address(), "the host, which had it raised,");
}

std::optional<RaisedException> Host::TakeException() {
    if (raised_.empty()) return std::nullopt;
    const Held<ExceptionInstance> exception = std::move(raised_.front());
    raised_.pop_front();
    const ExceptionInstance* instance = exception.Get();
    if (instance == nullptr) return RaisedException{};
    return instance->Told();
}

void Host::Yield() {
    if (!onYield_) return;
    const ServingScope program(false);
    onYield_();
}

std::vector<std::string> Host::WriteOffLeftovers() {
    std::vector<std::string> leftovers = objects_->WriteOff();
    raised_.clear();
    return leftovers;
}

}  // namespace workbench
