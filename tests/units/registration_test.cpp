// Flags and module records, for class records that the plugin's own does not cover.
#include "bridge/registration.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "fake_host.h"
#include "refused_memory.h"

namespace zvk {
namespace {

using testing::FakeHost;

REALmoduleDefinition* registeredModule = nullptr;

void TakeModule(REALmoduleDefinition* definition) {
    registeredModule = definition;
}

void Getter() {
}
void Setter() {
}

REALmethodDefinition Entry(REALfunction function, REALfunction setter, const char* declaration) {
    return {.function = function,
            .setter = setter,
            .declaration = declaration,
            .flags = 0x4,
            .reserved = 0,
            .words = {7, 9}};
}

template <std::size_t count>
REALclassDefinition ClassOf(std::array<REALmethodDefinition, count>& methods) {
    REALclassDefinition definition{};
    definition.name = "Picture";
    definition.methods = methods.data();
    definition.methodCount = count;
    return definition;
}

class ModuleRegistration : public ::testing::Test {
  protected:
    ModuleRegistration() : host(2013.0) {
        registeredModule = nullptr;
        gpartname = "Vandrel";
        host.Offer("PluginRegisterModule", TakeModule);
    }

    // The host keeps what was registered for the life of the process; a test gives it back.
    ~ModuleRegistration() override {
        if (registeredModule == nullptr) return;
        for (std::int64_t index = 0; index < registeredModule->methodCount; ++index) {
            std::free(const_cast<char*>(registeredModule->methods[index].declaration));
        }
        std::free(registeredModule->methods);
        std::free(const_cast<char*>(registeredModule->name));
        std::free(registeredModule);
    }

    FakeHost host;
};

TEST_F(ModuleRegistration, PutsASetterBeforeItsMethod) {
    std::array methods = {Entry(Getter, Setter, "Foo as integer")};
    RegisterModule(ClassOf(methods));
    ASSERT_NE(registeredModule, nullptr);
    ASSERT_EQ(registeredModule->methodCount, 2);
    const REALmethodDefinition& setter = registeredModule->methods[0];
    const REALmethodDefinition& getter = registeredModule->methods[1];
    EXPECT_EQ(setter.function, &Setter);
    EXPECT_STREQ(setter.declaration, "Foo(extends ref as Picture, assigns value as integer)");
    EXPECT_EQ(getter.function, &Getter);
    EXPECT_STREQ(getter.declaration, "Foo(extends ref as Picture) as integer");
    for (const REALmethodDefinition& entry : {setter, getter}) {
        EXPECT_EQ(entry.setter, nullptr);
        EXPECT_EQ(entry.flags, 0x14U);
        EXPECT_EQ(entry.words[0], 7U);
        EXPECT_EQ(entry.words[1], 9U);
    }
}

TEST_F(ModuleRegistration, LeavesOutWhatHasNeitherFunctionNorSetter) {
    std::array methods = {Entry(nullptr, nullptr, "Gone()"), Entry(nullptr, Setter, "Half(a)")};
    RegisterModule(ClassOf(methods));
    ASSERT_NE(registeredModule, nullptr);
    ASSERT_EQ(registeredModule->methodCount, 1);
    EXPECT_STREQ(registeredModule->methods[0].declaration,
                 "Half(extends ref as Picture, a, assigns value)");
}

TEST_F(ModuleRegistration, OfAClassWithoutCallableMethodsRegistersNothing) {
    std::array methods = {Entry(nullptr, nullptr, "Gone()")};
    RegisterModule(ClassOf(methods));
    EXPECT_EQ(registeredModule, nullptr);
    RegisterModule(REALclassDefinition{});
    EXPECT_EQ(registeredModule, nullptr);
}

// The table, the setter's declaration, in two steps, the method's, the name and the record. The
// declarations made before a failure stay allocated, deliberately.
TEST_F(ModuleRegistration, RegistersNothingWhereAnyOfItsMemoryIsRefused) {
    std::array methods = {Entry(Getter, Setter, "Foo as integer")};
    int request = 1;
    for (;; ++request) {
        const testing::RefusedMemory refused(request, testing::Granted::MayBeKept);
        RegisterModule(ClassOf(methods));
        if (!refused.WasAskedFor()) break;
        EXPECT_EQ(registeredModule, nullptr) << "request " << request;
    }
    EXPECT_GE(request, 6);
    EXPECT_NE(registeredModule, nullptr);
}

TEST_F(ModuleRegistration, NamesTheModuleAfterClassAndPartAndCutsALongName) {
    std::array methods = {Entry(Getter, nullptr, "Foo()")};
    REALclassDefinition definition = ClassOf(methods);
    const std::string longName(200, 'n');
    definition.name = longName.c_str();
    RegisterModule(definition);
    ASSERT_NE(registeredModule, nullptr);
    EXPECT_EQ(registeredModule->name, longName.substr(0, 99));
}

TEST(AdjustFlags, MovesBothAttributeBitsOfEveryListOnRecentHosts) {
    std::array methods = {Entry(Getter, nullptr, "Foo()"), Entry(Getter, nullptr, "Bar()")};
    methods[0].flags = 0x40000;
    methods[1].flags = 0x80001;
    std::array sharedMethods = {Entry(Getter, nullptr, "Shared()")};
    sharedMethods[0].flags = 0xC0000;
    std::array<REALpropertyDefinition, 1> properties{};
    properties[0].flags = 0x80000;
    std::array<REALpropertyDefinition, 1> sharedProperties{};
    sharedProperties[0].flags = 0x40020;
    REALclassDefinition definition = ClassOf(methods);
    definition.flags = 0x40000;
    definition.sharedMethods = sharedMethods.data();
    definition.sharedMethodCount = 1;
    definition.properties = properties.data();
    definition.propertyCount = 1;
    definition.sharedProperties = sharedProperties.data();
    definition.sharedPropertyCount = 1;

    AdjustFlags(definition, 2010.029);
    EXPECT_EQ(definition.flags, 0x4U);
    EXPECT_EQ(methods[0].flags, 0x4U);
    EXPECT_EQ(methods[1].flags, 0x9U);
    EXPECT_EQ(sharedMethods[0].flags, 0xCU);
    EXPECT_EQ(properties[0].flags, 0x8U);
    EXPECT_EQ(sharedProperties[0].flags, 0x24U);
}

TEST(AdjustFlags, OnlyClearsTheBitsOnOlderHosts) {
    std::array methods = {Entry(Getter, nullptr, "Foo()")};
    methods[0].flags = 0xC0003;
    REALclassDefinition definition = ClassOf(methods);
    definition.flags = 0x40000;
    AdjustFlags(definition, 2010.028);
    EXPECT_EQ(definition.flags, 0U);
    EXPECT_EQ(methods[0].flags, 0x3U);
}

TEST(AdjustFlags, PassesOverListsThatAreNotThere) {
    REALclassDefinition definition{};
    definition.propertyCount = 3;
    definition.sharedPropertyCount = -1;
    definition.flags = 0x40000;
    AdjustFlags(definition, 2013.0);
    EXPECT_EQ(definition.flags, 0x4U);
}

}  // namespace
}  // namespace zvk
