// Services for instances, properties, references, methods, exceptions, classes and yields.
// Reached through the directory. Names are compared without regard to case, as the host's language
// does.
#include <strings.h>

#include <set>
#include <string>

#include "workbench/host/host.h"
#include "workbench/objects/object_store.h"
#include "workbench/services/host_methods.h"
#include "workbench/services/service_desk.h"

namespace workbench {

namespace {

bool IsNamed(const char* name, const char* known) {
    return name != nullptr && strcasecmp(name, known) == 0;
}

/// Every class gets an address of its own; nothing is ever read through it.
REALclassRef ReferenceOf(const std::string& className) {
    static std::set<std::string> names;
    return ToHandle<REALclassRef>(&*names.insert(className).first);
}

bool IsApplicationClass(const HostSettings& settings, const std::string& name) {
    if (settings.applicationClasses) return settings.applicationClasses->contains(name);
    return name == (settings.runtime == Runtime::Console ? "ConsoleApplication" : "Application");
}

}  // namespace

REALobject ServiceDesk::REALnewInstance(const char* className) {
    constexpr Origin origin = "PluginNewInstance";
    if (className == nullptr) return nullptr;
    if (IsNamed(className, "Picture")) return host_.Objects().Make<Picture>(origin).Release();
    const auto exceptionClass = FindExceptionClass(className);
    if (!exceptionClass) return nullptr;
    return host_.Objects().Make<ExceptionInstance>(origin, *exceptionClass).Release();
}

REALboolean ServiceDesk::REALSetPropValueString(REALobject object, const char* property,
                                                REALstring value) {
    constexpr Origin origin = "REALSetPropValueString";
    auto* exception = dynamic_cast<ExceptionInstance*>(host_.Objects().FindAny(object, origin));
    const Text* text = host_.Find(value, origin);
    if (exception == nullptr || !IsNamed(property, "Message")) return false;
    if (text == nullptr && value != nullptr) return false;
    host_.Objects().AddReference(value, origin);
    exception->message = Held<Text>(value, "the exception it is the message of");
    return true;
}

REALboolean ServiceDesk::REALSetPropValueInteger(REALobject object, const char* property,
                                                 REALinteger value) {
    auto* exception = dynamic_cast<ExceptionInstance*>(
        host_.Objects().FindAny(object, "REALSetPropValueInteger"));
    if (exception == nullptr || !IsNamed(property, "ErrorNumber")) return false;
    exception->errorNumber = value;
    return true;
}

REALboolean ServiceDesk::REALGetPropValueInteger(REALobject object, const char* property,
                                                 REALinteger* value) {
    Object* found = host_.Objects().FindAny(object, "REALGetPropValueInteger");
    if (value == nullptr) return false;
    if (const auto* picture = dynamic_cast<Picture*>(found)) {
        const bool width = IsNamed(property, "Width");
        if (!width && !IsNamed(property, "Height")) return false;
        *value = width ? picture->reportedWidth.value_or(picture->Width())
                       : picture->reportedHeight.value_or(picture->Height());
        return true;
    }
    const auto* exception = dynamic_cast<ExceptionInstance*>(found);
    if (exception == nullptr || !IsNamed(property, "ErrorNumber")) return false;
    *value = exception->errorNumber;
    return true;
}

REALboolean ServiceDesk::REALGetPropValueBoolean(REALobject object, const char* property,
                                                 REALboolean* value) {
    const auto* picture =
        dynamic_cast<Picture*>(host_.Objects().FindAny(object, "REALGetPropValueBool"));
    if (picture == nullptr || value == nullptr || !IsNamed(property, "HasAlphaChannel")) {
        return false;
    }
    *value = picture->HasAlphaChannel() ? 1 : 0;
    return true;
}

void ServiceDesk::REALRaiseException(REALobject exception) {
    constexpr Origin origin = "RuntimeRaiseException";
    auto* instance = host_.Objects().Find<ExceptionInstance>(exception, origin);
    if (instance != nullptr) host_.Raise(*instance, origin);
}

void ServiceDesk::REALYieldToRB() {
    host_.Yield();
}

void ServiceDesk::REALLockObject(REALobject object) {
    host_.Objects().AddReference(object, "REALLockObject");
}

void ServiceDesk::REALUnlockObject(REALobject object) {
    host_.Objects().Release(object, "REALUnlockObject");
}

REALfunction ServiceDesk::REALLoadObjectMethod(REALobject object, const char* declaration) {
    const Object* found = host_.Objects().FindAny(object, "REALLoadObjectMethod");
    if (found == nullptr || declaration == nullptr) return nullptr;
    return FindHostMethod(host_, *found, declaration);
}

REALclassRef ServiceDesk::REALGetClassRef(const char* className) {
    if (className == nullptr) return nullptr;
    const bool known = IsApplicationClass(host_.Settings(), className) ||
                       IsNamed(className, "Picture") || IsNamed(className, "Graphics") ||
                       FindExceptionClass(className);
    return known ? ReferenceOf(className) : nullptr;
}

}  // namespace workbench
