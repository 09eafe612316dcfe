// The methods of the test's own plugin. They look up what they need each time they are called.
#include "tests/workbench/own_plugin.h"

#include <array>
#include <csignal>
#include <stdexcept>

#include "hostapi/host_records.h"
#include "hostapi/host_types.h"

namespace workbench {
namespace {

REALresolver resolve = nullptr;

template <typename Function>
Function* Service(const char* name) {
    return reinterpret_cast<Function*>(resolve(name));
}

REALpicture NewPicture(REALinteger width, REALinteger height) {
    return Service<REALpicture(REALinteger, REALinteger, REALinteger)>("newPicture")(width, height,
                                                                                     32);
}

REALpicture Leak(REALpicture) {
    NewPicture(1, 1);
    return NewPicture(2, 2);
}

REALpicture YieldUntilStopped(REALpicture, REALinteger yieldsBeforeSignal) {
    const auto yield = Service<void()>("REALYieldToRB");
    constexpr REALinteger farTooMany = 1000;
    for (REALinteger i = 0; i < farTooMany; ++i) {
        if (i == yieldsBeforeSignal) std::raise(SIGINT);
        yield();
    }
    return NewPicture(1, 1);
}

REALpicture StopWithoutYield(REALpicture) {
    std::raise(SIGTERM);
    return NewPicture(1, 1);
}

REALpicture Stretch(REALpicture, REALinteger width, REALinteger height) {
    return NewPicture(width, height);
}

REALpicture NoPicture(REALpicture) {
    return nullptr;
}

REALboolean Truth(REALpicture, REALboolean value) {
    return value;
}

REALinteger Sum(REALpicture, REALinteger left, REALinteger right) {
    return left + right;
}

double Half(REALpicture, double value) {
    return value / 2;
}

REALstring Echo(REALpicture, REALstring) {
    constexpr std::array<char, 6> bytes{'l', 'i', 'n', 'e', '\n', '2'};
    return Service<REALstring(const char*, std::int32_t)>("REALBuildString")(bytes.data(), 6);
}

REALpicture ThrowSomething(REALpicture) {
    throw std::runtime_error("thrown by the plugin");
}

template <typename Function>
REALmethodDefinition Entry(Function* function, const char* declaration) {
    REALmethodDefinition entry{};
    entry.function = reinterpret_cast<REALfunction>(function);
    entry.declaration = declaration;
    entry.flags = 4;
    return entry;
}

void Register(REALmethodDefinition* methods, std::int64_t count) {
    static REALclassDefinition extension;
    constexpr std::int32_t interfaceVersion = 10;
    Service<void(std::int32_t)>("RegisterPluginVersion")(interfaceVersion);
    extension = {};
    extension.version = interfaceVersion;
    extension.name = "Picture";
    extension.methods = methods;
    extension.methodCount = count;
    extension.flags = 4;
    Service<void(REALclassDefinition*)>("PluginRegisterClassExtension")(&extension);
}

void EntryWithMethods(REALresolver resolver) {
    resolve = resolver;
    static std::array methods{
        Entry(Leak, "Leak() as picture"),
        Entry(YieldUntilStopped, "YieldUntilStopped(yields as integer = 3) as picture"),
        Entry(StopWithoutYield, "StopWithoutYield as picture"),
        Entry(Stretch, "Stretch(width as integer, height as integer = 5) as picture"),
        Entry(NoPicture, "NoPicture as picture"),
        Entry(Truth, "Truth(value as boolean) as boolean"),
        Entry(Sum, "Sum(left as integer, right as integer) as integer"),
        Entry(Half, "Half(value as double) as double"),
        Entry(Echo, "Echo(text as string) as string"),
        Entry(ThrowSomething, "ThrowSomething as picture"),
    };
    Register(methods.data(), methods.size());
}

void EntryWithoutMethods(REALresolver resolver) {
    resolve = resolver;
}

void EntryWithNonsense(REALresolver resolver) {
    resolve = resolver;
    static std::array methods{Entry(NoPicture, "Half a (declaration"),
                              Entry(NoPicture, "Whole as picture")};
    Register(methods.data(), methods.size());
}

class OwnLibrary : public PluginLibrary {
  public:
    explicit OwnLibrary(Entry entry) : entry_(entry) {}
    Entry EntryPoint() const override { return entry_; }

  private:
    Entry entry_;
};

}  // namespace

std::unique_ptr<PluginLibrary> OpenOwnPlugin(OwnPlugin kind) {
    switch (kind) {
        case OwnPlugin::WithoutMethods:
            return std::make_unique<OwnLibrary>(EntryWithoutMethods);
        case OwnPlugin::WithNonsense:
            return std::make_unique<OwnLibrary>(EntryWithNonsense);
        case OwnPlugin::WithMethods:
            break;
    }
    return std::make_unique<OwnLibrary>(EntryWithMethods);
}

}  // namespace workbench
