// The small real host: it offers the services of the plugin interface, owns every object that
// they hand out, and keeps the books. Made by the program and by tests, one at a time: services
// are plain functions without a context and find the current host by themselves.
// It knows no plugin's methods; it must never look into a plugin other than through its records.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hostapi/host_types.h"
#include "workbench/host/clock.h"
#include "workbench/host/faults.h"
#include "workbench/host/held.h"
#include "workbench/host/ledger.h"
#include "workbench/host/plugin_library.h"
#include "workbench/host/registration.h"
#include "workbench/host/services.h"
#include "workbench/host/settings.h"
#include "workbench/host/trace.h"
#include "workbench/objects/exception.h"
#include "workbench/objects/text.h"
#include "workbench/pictures/picture.h"

namespace workbench {

class ObjectStore;

class Host {
  public:
    /// Becomes the current host. Throws std::logic_error while there is another one, and
    /// std::invalid_argument for settings that make no sense.
    explicit Host(HostSettings settings = {});
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Reports what is left over (see HostSettings::onUnclean), then frees it.
    ~Host();

    /// The current host, or null.
    static Host* Current();

    /// True while a service runs (and not the plugin, nor code called by a yield): lets a test
    /// that makes allocations fail spare the host's own.
    static bool IsServing();

    /// The function that finds services of the current host by name.
    static REALresolver Resolver();

    const HostSettings& Settings() const { return settings_; }

    /// The version for comparisons: 0 if the host does not tell it.
    double Version() const { return settings_.version.value_or(0.0); }

    /// Runs the plugin's entry once. What it registered is then in Methods(), what was wrong with
    /// it in RegistrationProblems(); throws nothing of its own. The library must outlive every
    /// call of a method.
    void LoadPlugin(const PluginLibrary& library);

    const std::vector<RegisteredMethod>& Methods() const { return registration_.Methods(); }
    Registration& Registered() { return registration_; }
    const Registration& Registered() const { return registration_; }

    /// One line each; also says so if a plugin was loaded and registered nothing.
    std::vector<std::string> RegistrationProblems() const;

    /// A new picture with one reference, held by the result. Throws std::invalid_argument for
    /// options that make no sense and std::bad_alloc for a size that cannot be had.
    Held<Picture> CreatePicture(const PictureOptions& options);

    /// A new console picture, whatever the runtime, that takes over the truecolor image with its
    /// pixels; they are never under guard. One reference, held by the result. Throws
    /// std::invalid_argument for another image.
    Held<Picture> AdoptImage(OwnedImage image, bool alphaChannel);

    /// A new string with one reference, held by the result.
    Held<Text> CreateText(std::string bytes, REALencoding encoding = REALencoding::Utf8);

    /// Takes over a reference that a method returned. Empty for null, and for a handle that is
    /// not a live object of that kind, which is an error in the ledger.
    Held<Picture> Adopt(REALpicture picture);
    Held<Text> Adopt(REALstring string);

    /// The object behind a handle, or null for null and for anything that is not a live object of
    /// the kind, which is an error in the ledger. Adds no reference.
    Picture* Find(REALpicture picture, Origin origin = theProgram);
    Text* Find(REALstring string, Origin origin = theProgram);

    /// Gives `picture` the mask `mask` (null: none), as host code assigning the property would:
    /// a picture with an alpha channel takes its alpha from it, any other keeps a reference.
    /// A picture that would become its own mask raises a RuntimeException instead.
    void SetMask(Picture& picture, Picture* mask);

    /// A new picture with the transparency of `picture` as a mask shows it: of its alpha channel
    /// or of its mask; empty where there is neither.
    Held<Picture> CopyMask(const Picture& picture);

    /// Raises an exception of one of the host's classes, as the host's own methods do.
    void Raise(std::string_view className, std::string message);

    /// Raises an instance: adds a reference and keeps it until it is taken.
    void Raise(ExceptionInstance& exception, Origin origin);

    /// The exceptions raised and not yet taken, as a host unwinding its program would take them:
    /// the oldest first, its instance released.
    std::optional<RaisedException> TakeException();

    /// Called inside each yield; may draw, release, call methods again, or throw.
    void OnYield(std::function<void()> callback) { onYield_ = std::move(callback); }

    Ledger& Books() { return ledger_; }
    const Ledger& Books() const { return ledger_; }
    Faults& Failing() { return faults_; }
    const Faults& Failing() const { return faults_; }
    Trace& Tracing() { return trace_; }
    Clock& Time() { return clock_; }

    /// How often a service was called.
    std::uint64_t Calls(Service service) const { return faults_.Calls(service); }

    /// Frees everything left over without a complaint and returns what it was, one text each with
    /// its history: for tests of failures that are known to leave something behind. Held
    /// references to such objects become empty.
    std::vector<std::string> WriteOffLeftovers();

    /// The store of all objects, for the services.
    ObjectStore& Objects() { return *objects_; }

    /// Runs the yield callback; called by the yield service.
    void Yield();

  private:
    HostSettings settings_;
    Clock clock_;
    Faults faults_;
    Trace trace_;
    Registration registration_;
    Ledger ledger_;
    std::unique_ptr<ObjectStore> objects_;
    std::deque<Held<ExceptionInstance>> raised_;
    std::function<void()> onYield_;
    bool pluginLoaded_ = false;
};

}  // namespace workbench
