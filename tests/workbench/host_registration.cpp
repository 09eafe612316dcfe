// What plugins register, and how their files are loaded.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "tests/workbench/host_services.h"
#include "workbench/host/host.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

void SomeMethod() {
}

REALmethodDefinition Method(std::uint32_t flags) {
    return {&SomeMethod, nullptr, "Foo(a as integer) as picture", flags, 0, {}};
}

REALclassDefinition Extension(REALmethodDefinition& method) {
    REALclassDefinition definition{};
    definition.version = 10;
    definition.name = "Picture";
    definition.methods = &method;
    definition.methodCount = 1;
    definition.flags = 4;
    return definition;
}

REALmoduleDefinition Module(REALmethodDefinition& method) {
    REALmoduleDefinition definition{};
    definition.version = 11;
    definition.name = "SomeModule";
    definition.methods = &method;
    definition.methodCount = 1;
    return definition;
}

TEST(Registration, ModulesAreForHostsFrom2013To3000) {
    EXPECT_EQ(ExpectedPath(0.0), RegistrationPath::ClassExtension);
    EXPECT_EQ(ExpectedPath(2012.99), RegistrationPath::ClassExtension);
    EXPECT_EQ(ExpectedPath(2013.0), RegistrationPath::Module);
    EXPECT_EQ(ExpectedPath(2999.9), RegistrationPath::Module);
    EXPECT_EQ(ExpectedPath(3000.0), RegistrationPath::ClassExtension);
}

TEST(Registration, KeepsTheMethodsOfAClassExtension) {
    Host host;
    REALmethodDefinition method = Method(4);
    REALclassDefinition definition = Extension(method);
    services::RegisterPluginVersion()(10);
    services::REALRegisterClassExtension()(&definition);
    ASSERT_THAT(host.Methods(), SizeIs(1));
    const RegisteredMethod& kept = host.Methods()[0];
    EXPECT_EQ(kept.declaration, "Foo(a as integer) as picture");
    EXPECT_EQ(kept.function, &SomeMethod);
    EXPECT_EQ(kept.setter, nullptr);
    EXPECT_EQ(kept.flags, 4);
    EXPECT_FALSE(kept.fromModule);
    EXPECT_EQ(kept.owner, "Picture");
    EXPECT_EQ(host.Registered().InterfaceVersion(), 10);
    EXPECT_EQ(host.Registered().ClassFlags(), 4);
    EXPECT_THAT(host.RegistrationProblems(), IsEmpty());
}

TEST(Registration, KeepsTheMethodsOfAModule) {
    Host host({.version = 2013.0});
    REALmethodDefinition method = Method(0x14);
    REALmoduleDefinition definition = Module(method);
    services::RegisterPluginVersion()(11);
    services::REALRegisterModule()(&definition);
    ASSERT_THAT(host.Methods(), SizeIs(1));
    EXPECT_TRUE(host.Methods()[0].fromModule);
    EXPECT_EQ(host.Methods()[0].owner, "SomeModule");
    EXPECT_THAT(host.RegistrationProblems(), IsEmpty());
}

/// The problems of a class extension after `change`, on a host of 2012.0.
std::vector<std::string> ProblemsOf(
    const std::function<void(REALclassDefinition&, REALmethodDefinition&)>& change) {
    Host host;
    REALmethodDefinition method = Method(4);
    REALclassDefinition definition = Extension(method);
    change(definition, method);
    services::RegisterPluginVersion()(10);
    services::REALRegisterClassExtension()(&definition);
    if (!host.Methods().empty() && !host.RegistrationProblems().empty()) {
        return {"a method was kept in spite of a problem"};
    }
    return host.RegistrationProblems();
}

TEST(Registration, RefusesRecordsThatAreNotRight) {
    using Class = REALclassDefinition;
    using Entry = REALmethodDefinition;
    EXPECT_THAT(ProblemsOf([](Class& record, Entry&) { record.name = nullptr; }),
                ElementsAre("the class extension has no name"));
    EXPECT_THAT(ProblemsOf([](Class& record, Entry&) { record.name = "Socket"; }),
                ElementsAre("there is no class to extend named Socket"));
    EXPECT_THAT(ProblemsOf([](Class& record, Entry&) { record.flags = 0x40000; }),
                ElementsAre("the class extension's flags are still the old ones"));
    EXPECT_THAT(ProblemsOf([](Class& record, Entry&) { record.version = 9; }),
                ElementsAre(HasSubstr("version 9 but the plugin announced 10")));
    EXPECT_THAT(
        ProblemsOf([](Class& record, Entry&) { record.version = 13; }),
        ElementsAre(HasSubstr("version 13; the host speaks 9 to 10"), HasSubstr("announced")));
    EXPECT_THAT(ProblemsOf([](Class& record, Entry&) { record.methods = nullptr; }),
                ElementsAre("Picture has a list of 1 methods that cannot be read"));
    EXPECT_THAT(ProblemsOf([](Class& record, Entry&) { record.methodCount = -1; }),
                ElementsAre(HasSubstr("a list of -1 methods")));
    EXPECT_THAT(ProblemsOf([](Class&, Entry& method) { method.declaration = nullptr; }),
                ElementsAre("method 0 of Picture has no declaration"));
    EXPECT_THAT(ProblemsOf([](Class&, Entry& method) { method.function = nullptr; }),
                ElementsAre("method 0 of Picture has no function"));
    EXPECT_THAT(ProblemsOf([](Class&, Entry& method) { method.flags = 0x40000; }),
                ElementsAre("method 0 of Picture has the old flags"));
    EXPECT_THAT(ProblemsOf([](Class&, Entry& method) { method.flags = 0x14; }),
                ElementsAre("method 0 of Picture is marked as a global method"));
}

TEST(Registration, RefusesTheWrongPathAndNullRecords) {
    Host host;
    REALmethodDefinition method = Method(0x14);
    REALmoduleDefinition definition = Module(method);
    definition.version = 10;
    services::REALRegisterModule()(&definition);
    services::REALRegisterModule()(nullptr);
    services::REALRegisterClassExtension()(nullptr);
    EXPECT_THAT(host.Methods(), IsEmpty());
    EXPECT_THAT(host.RegistrationProblems(), ElementsAre("this version of the host takes no module",
                                                         "a null module was registered",
                                                         "a null class extension was registered"));
}

/// A plugin made of one function.
class PluginStandIn : public PluginLibrary {
  public:
    explicit PluginStandIn(Entry entry) : entry_(entry) {}
    Entry EntryPoint() const override { return entry_; }

  private:
    Entry entry_;
};

TEST(PluginLoading, CallsTheEntryWithTheResolver) {
    Host host;
    host.LoadPlugin(PluginStandIn([](REALresolver resolver) {
        reinterpret_cast<void (*)(std::int32_t)>(resolver("RegisterPluginVersion"))(10);
    }));
    EXPECT_EQ(host.Registered().InterfaceVersion(), 10);
    EXPECT_THAT(host.RegistrationProblems(), ElementsAre("the plugin registered nothing"));
}

std::string LoadError(const std::filesystem::path& file) {
    try {
        OpenSharedLibrary(file);
    } catch (const PluginError& error) {
        return error.what();
    }
    return "it loaded";
}

TEST(PluginLoading, SaysInOneLineWhyAFileDoesNotLoad) {
    EXPECT_THAT(LoadError("no/such/plugin.so"),
                HasSubstr("no/such/plugin.so: there is no such file"));
    EXPECT_THAT(LoadError("."), HasSubstr("there is no such file"));
    const auto file = std::filesystem::path(testing::TempDir()) / "not_a_library.so";
    std::ofstream(file) << "text\n";
    EXPECT_THAT(LoadError(file),
                testing::AllOf(HasSubstr("cannot load the plugin"), HasSubstr("not_a_library.so"),
                               testing::Not(HasSubstr("\n"))));
    std::filesystem::remove(file);
}

TEST(PluginLoading, RefusesALibraryWithoutAnEntry) {
    Dl_info info{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(&dlerror), &info), 0);
    EXPECT_THAT(LoadError(info.dli_fname), HasSubstr("is no plugin: it has no REALPluginMain"));
}

TEST(PluginLoading, LoadsTheRealPlugin) {
    for (const double version : {2010.0, 2012.0, 2013.0, 2013.04, 3000.0}) {
        Host host({.version = version});
        const auto library = OpenSharedLibrary(ZVK_PLUGIN);
        host.LoadPlugin(*library);
        EXPECT_THAT(host.RegistrationProblems(), IsEmpty()) << version;
        EXPECT_FALSE(host.Methods().empty()) << version;
        EXPECT_TRUE(host.Books().IsClean());
    }
}

TEST(PluginLoading, UnloadsThePluginSoThatTheNextOneIsFresh) {
    const auto isLoaded = [] {
        void* handle = dlopen(ZVK_PLUGIN, RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr) dlclose(handle);
        return handle != nullptr;
    };
    auto library = OpenSharedLibrary(ZVK_PLUGIN);
    EXPECT_TRUE(isLoaded());
    library.reset();
    EXPECT_FALSE(isLoaded());
}

}  // namespace
}  // namespace workbench
