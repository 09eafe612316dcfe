// The plugin's entry point, the only symbol that it exports. The host calls it once, on its own
// thread, before anything else; after it the plugin does nothing until a method is called.
#include "bridge/host_services.h"
#include "bridge/host_version.h"
#include "bridge/registration.h"

namespace zvk {

namespace {

// Not 0 once the entry point has run.
constinit unsigned char gplugin = 0;

// The two services of the start-up are looked up by each start-up anew, hence the copies.
void LearnHostVersion() {
    auto getVersion = REALGetRBVersion;
    if (getVersion.Find() != nullptr) rbversion_rbversion = getVersion();
    CurrentREALControlVersion = InterfaceVersionFor(rbversion_rbversion);
}

void TellInterfaceVersion() {
    auto registerVersion = RegisterPluginVersion;
    registerVersion(static_cast<std::int32_t>(CurrentREALControlVersion));
}

}  // namespace

}  // namespace zvk

// Takes the host's resolver and registers the five picture methods. Every failure is silent: the
// process then goes on without the methods.
extern "C" [[gnu::visibility("default")]] void REALPluginMain(REALresolver resolver) {
    using namespace zvk;
    gResolver = resolver;
    LearnHostVersion();
    TellInterfaceVersion();
    gpartname = "Vandrel";
    gpluginname = "Picture";
    gplugin = 1;

    AdjustFlags(pictureClass, rbversion_rbversion);
    if (TakesClassExtension(rbversion_rbversion)) {
        RegisterClassExtension(pictureClass);
    } else {
        RegisterModule(pictureClass);
    }
}
