// Services for a plugin's start: version and registration.
// Reached through the directory; the checks are in host/registration.
#include "workbench/host/host.h"
#include "workbench/services/service_desk.h"

namespace workbench {

double ServiceDesk::REALGetRBVersion() {
    return host_.Version();
}

void ServiceDesk::RegisterPluginVersion(std::int32_t interfaceVersion) {
    host_.Registered().TakeInterfaceVersion(interfaceVersion);
}

void ServiceDesk::REALRegisterClassExtension(REALclassDefinition* definition) {
    host_.Registered().TakeClassExtension(definition);
}

void ServiceDesk::REALRegisterModule(REALmoduleDefinition* definition) {
    host_.Registered().TakeModule(definition);
}

}  // namespace workbench
