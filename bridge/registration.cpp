// The class record with its method table, and the two ways of handing it to a host.
#include "bridge/registration.h"

#include <array>
#include <cstdio>
#include <iterator>

#include "bridge/buffer.h"
#include "bridge/declarations.h"
#include "bridge/host_services.h"
#include "bridge/host_version.h"
#include "bridge/picture_methods.h"

namespace zvk {

namespace {

// Attribute bits as written at build time and where hosts since 2010.029 look for them.
constexpr std::uint32_t attributeBits = 0x000C0000;
constexpr std::uint32_t consoleSafeAttribute = 0x00040000;
constexpr unsigned attributeShift = 16;

// Marks an entry of a module's table as a global method with an extended first parameter.
constexpr std::uint32_t extendsFlag = 16;

template <typename Function>
REALmethodDefinition Method(Function* function, const char* declaration) {
    return {.function = reinterpret_cast<REALfunction>(function),
            .setter = nullptr,
            .declaration = declaration,
            .flags = consoleSafeAttribute,
            .reserved = 0,
            .words = {0, 0}};
}

// The host parses the declarations; their spacing and capitals are part of the interface.
REALmethodDefinition pictureMethods[] = {
    Method(DrawPictureF,
           "DrawPictureFZVK(pic as picture, x as double, y as double, alpha as double = 1.0, yield "
           "as integer = 0) as boolean"),
    Method(VandrelZVK,
           "ScaleZVK(width as integer, height as integer, AntiAlias as boolean=false, YieldTicks "
           "as integer=0) as picture"),
    Method(VandrelImageAndMaskZVK,
           "ScaleImageAndMaskZVK(width as integer, height as integer, AntiAlias as boolean=false, "
           "YieldTicks as integer=0) as picture"),
    Method(PictureScalingZVK,
           "ScalingZVK(mode as integer, width as integer, height as integer, yield as integer = 0) "
           "as picture"),
    Method(BlurZVK, "BlurZVK(Radius as double, yield as integer = 0) as picture"),
};

std::uint32_t FlagsFor(std::uint32_t flags, double hostVersion) {
    if (hostVersion >= REALversion::AttributeFlags) {
        flags |= (flags & attributeBits) >> attributeShift;
    }
    return flags & ~attributeBits;
}

template <typename Entry>
void AdjustEntries(Entry* entries, std::int64_t count, double hostVersion) {
    if (entries == nullptr) return;
    for (std::int64_t index = 0; index < count; ++index) {
        entries[index].flags = FlagsFor(entries[index].flags, hostVersion);
    }
}

// How many entries a module needs: a method and its setter are one each.
std::int64_t CountModuleEntries(const REALclassDefinition& definition) {
    std::int64_t count = 0;
    for (std::int64_t index = 0; index < definition.methodCount; ++index) {
        const REALmethodDefinition& method = definition.methods[index];
        if (method.function != nullptr) ++count;
        if (method.setter != nullptr) ++count;
    }
    return count;
}

REALmethodDefinition ModuleEntry(const REALmethodDefinition& method, REALfunction function,
                                 const char* declaration) {
    return {.function = function,
            .setter = nullptr,
            .declaration = declaration,
            .flags = method.flags | extendsFlag,
            .reserved = 0,
            .words = {method.words[0], method.words[1]}};
}

// Fills `entries` with the module's methods, a setter before its method; false when out of memory.
// Deliberate: the declarations made before a failure stay allocated. They are the host's once
// they are in the table, and a process that lacks the memory to register goes on without.
bool FillModuleEntries(const REALclassDefinition& definition, REALmethodDefinition* entries) {
    for (std::int64_t index = 0; index < definition.methodCount; ++index) {
        const REALmethodDefinition& method = definition.methods[index];
        if (method.setter != nullptr) {
            const Buffer<char> extended = AddClassParameter(method.declaration, definition.name);
            if (extended == nullptr) return false;
            Buffer<char> declaration = AddAssignedValue(extended.get());
            if (declaration == nullptr) return false;
            *entries++ = ModuleEntry(method, method.setter, declaration.release());
        }
        if (method.function != nullptr) {
            Buffer<char> declaration = AddClassParameter(method.declaration, definition.name);
            if (declaration == nullptr) return false;
            *entries++ = ModuleEntry(method, method.function, declaration.release());
        }
    }
    return true;
}

// The name under which a module carries the extension of a class; null when out of memory.
Buffer<char> ModuleName(const REALclassDefinition& definition) {
    std::array<char, 100> name{};
    std::snprintf(name.data(), name.size(), "%s%s%s", definition.name, gpartname, "ExtensionZVK");
    return CopyString(name.data());
}

}  // namespace

constinit const char* gpartname = "";
constinit const char* gpluginname = "";

REALclassDefinition pictureClass = {
    .version = 13,
    .name = "Picture",
    .properties = nullptr,
    .propertyCount = 0,
    .methods = pictureMethods,
    .methodCount = std::size(pictureMethods),
    .flags = consoleSafeAttribute,
    .sharedProperties = nullptr,
    .sharedPropertyCount = 0,
    .sharedMethods = nullptr,
    .sharedMethodCount = 0,
    .reserved = {},
};

void AdjustFlags(REALclassDefinition& definition, double hostVersion) {
    definition.flags = FlagsFor(definition.flags, hostVersion);
    AdjustEntries(definition.methods, definition.methodCount, hostVersion);
    AdjustEntries(definition.sharedMethods, definition.sharedMethodCount, hostVersion);
    AdjustEntries(definition.properties, definition.propertyCount, hostVersion);
    AdjustEntries(definition.sharedProperties, definition.sharedPropertyCount, hostVersion);
}

bool TakesClassExtension(double hostVersion) {
    return hostVersion >= REALversion::ExtensionsAgain || hostVersion < REALversion::Interface11;
}

void RegisterClassExtension(REALclassDefinition& definition) {
    definition.version = static_cast<std::uint32_t>(CurrentREALControlVersion);
    REALRegisterClassExtension(&definition);
}

void RegisterModule(const REALclassDefinition& definition) {
    if (definition.methodCount == 0) return;
    Buffer<REALmoduleDefinition> module = AllocateZeroed<REALmoduleDefinition>(1);
    if (module == nullptr) return;
    const std::int64_t entryCount = CountModuleEntries(definition);
    Buffer<REALmethodDefinition> entries = AllocateZeroed<REALmethodDefinition>(entryCount);
    if (entries == nullptr) return;
    if (!FillModuleEntries(definition, entries.get())) return;
    Buffer<char> name = ModuleName(definition);
    if (name == nullptr || REALRegisterModule.Find() == nullptr) return;

    module[0] = {.version = static_cast<std::uint32_t>(CurrentREALControlVersion),
                 .name = name.release(),
                 .methods = entries.release(),
                 .methodCount = entryCount,
                 .reserved = {}};
    REALRegisterModule(module.release());
}

}  // namespace zvk
