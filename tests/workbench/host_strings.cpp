// Host strings, their encodings, and exceptions with their messages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/workbench/host_services.h"
#include "workbench/host/host.h"
#include "workbench/objects/text.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The bytes of UTF-16 or UTF-32 units in memory.
template <typename Unit>
std::string Bytes(std::basic_string_view<Unit> units) {
    return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Unit)};
}

std::string Utf8(std::string_view bytes, REALencoding from) {
    return ConvertText(bytes, from, REALencoding::Utf8);
}

TEST(TextConversion, KeepsAsciiInEveryEncodingOfBytes) {
    for (const auto encoding :
         {REALencoding::Ascii, REALencoding::Utf8, REALencoding::WindowsLatin1,
          REALencoding::SystemDefault, REALencoding::Unknown}) {
        EXPECT_EQ(Utf8("Hello", encoding), "Hello");
        EXPECT_EQ(ConvertText("Hello", REALencoding::Utf8, encoding), "Hello");
    }
}

TEST(TextConversion, ReadsUtf16WithSurrogates) {
    EXPECT_EQ(Utf8(Bytes<char16_t>(u"a\u00E9\u20AC\U0001F600"), REALencoding::Utf16),
              "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(TextConversion, ReadsUtf32) {
    EXPECT_EQ(Utf8(Bytes<char32_t>(U"\u00E9\U0001F600"), REALencoding::Utf32),
              "\xC3\xA9\xF0\x9F\x98\x80");
}

TEST(TextConversion, ReadsAndWritesWindowsLatin1) {
    EXPECT_EQ(Utf8("\xE9\x80", REALencoding::WindowsLatin1), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(ConvertText("\xC3\xA9", REALencoding::Utf8, REALencoding::WindowsLatin1), "\xE9");
}

TEST(TextConversion, WritesUtf16AndUtf32WithoutAMark) {
    EXPECT_EQ(ConvertText("\xF0\x9F\x98\x80", REALencoding::Utf8, REALencoding::Utf16),
              Bytes<char16_t>(u"\U0001F600"));
    EXPECT_EQ(ConvertText("A", REALencoding::Utf8, REALencoding::Utf32), Bytes<char32_t>(U"A"));
}

TEST(TextConversion, ReplacesWhatIsNotValid) {
    const std::string replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(Utf8("a\xFF"
                   "b",
                   REALencoding::Utf8),
              "a" + replacement + "b");
    EXPECT_EQ(Utf8("a\xC3", REALencoding::Utf8), "a" + replacement);
    EXPECT_EQ(Utf8("\x80", REALencoding::Ascii), replacement);
    const std::u16string lone{0xD800, u'b'};
    EXPECT_EQ(Utf8(Bytes<char16_t>(lone), REALencoding::Utf16), replacement + "b");
    EXPECT_EQ(Utf8("abc", REALencoding::Utf16), "\xE6\x89\xA1" + replacement);
    const std::u32string tooLarge{0x110000, U'b'};
    EXPECT_EQ(Utf8(Bytes<char32_t>(tooLarge), REALencoding::Utf32), replacement + "b");
}

TEST(TextConversion, WritesAQuestionMarkForWhatCannotBeExpressed) {
    EXPECT_EQ(ConvertText("a\xC3\xA9z", REALencoding::Utf8, REALencoding::Ascii), "a?z");
}

TEST(TextConversion, TakesTextLongerThanItsBuffer) {
    const std::string text(5000, 'x');
    EXPECT_EQ(Utf8(ConvertText(text, REALencoding::Utf8, REALencoding::Utf32), REALencoding::Utf32),
              text);
}

TEST(TextConversion, RefusesAnEncodingWithoutAName) {
    EXPECT_THROW(ConvertText("a", static_cast<REALencoding>(0x12345), REALencoding::Utf8),
                 std::invalid_argument);
}

TEST(HostStrings, AreBuiltTaggedConvertedAndReleased) {
    Host host;
    const Held<Text> plain = host.Adopt(services::originalREALBuildString()("caf\xE9", 4));
    EXPECT_EQ(plain->encoding, REALencoding::Unknown);
    services::REALSetStringEncoding()(plain.Handle(), REALencoding::WindowsLatin1);
    const Held<Text> converted =
        host.Adopt(services::REALConvertString()(plain.Handle(), REALencoding::Utf8));
    EXPECT_EQ(converted->bytes, "caf\xC3\xA9");
    EXPECT_EQ(converted->encoding, REALencoding::Utf8);
    EXPECT_NE(converted.Handle(), plain.Handle());
}

TEST(HostStrings, MayHoldZeroBytesAndBeEmpty) {
    Host host;
    const Held<Text> zeros = host.Adopt(services::originalREALBuildString()("a\0b", 3));
    EXPECT_EQ(zeros->bytes, std::string("a\0b", 3));
    const Held<Text> empty = host.Adopt(services::originalREALBuildString()("", 0));
    EXPECT_TRUE(empty->bytes.empty());
}

TEST(HostStrings, AreNullWhereTheyCannotBeMade) {
    Host host;
    EXPECT_EQ(services::originalREALBuildString()(nullptr, 3), nullptr);
    EXPECT_EQ(services::originalREALBuildString()("abc", -1), nullptr);
    EXPECT_EQ(services::REALConvertString()(nullptr, REALencoding::Utf8), nullptr);
    const Held<Text> text = host.CreateText("abc");
    EXPECT_EQ(services::REALConvertString()(text.Handle(), static_cast<REALencoding>(7)), nullptr);
}

TEST(HostExceptions, CarryClassMessageAndNumber) {
    Host host;
    const REALobject instance = services::REALnewInstance()("NilObjectException");
    const REALstring message =
        services::REALBuildStringWithEncoding()("source is nil", 13, REALencoding::Ascii);
    EXPECT_TRUE(services::REALSetPropValueString()(instance, "Message", message));
    EXPECT_TRUE(services::REALSetPropValueInteger()(instance, "ErrorNumber", 7));
    services::REALRaiseException()(instance);
    services::REALUnlockObject()(instance);
    services::REALUnlockString()(message);

    const auto raised = host.TakeException();
    ASSERT_TRUE(raised.has_value());
    EXPECT_EQ(raised->className, "NilObjectException");
    EXPECT_EQ(raised->message, "source is nil");
    EXPECT_EQ(raised->encoding, REALencoding::Ascii);
    EXPECT_EQ(raised->MessageUtf8(), "source is nil");
    EXPECT_EQ(raised->errorNumber, 7);
    EXPECT_FALSE(host.TakeException().has_value());
    EXPECT_TRUE(host.Books().IsClean());
}

TEST(HostExceptions, MayHaveNoMessage) {
    Host host;
    const REALobject instance = services::REALnewInstance()("RuntimeException");
    EXPECT_TRUE(services::REALSetPropValueString()(instance, "Message", nullptr));
    services::REALRaiseException()(instance);
    services::REALUnlockObject()(instance);
    EXPECT_EQ(host.TakeException()->message, std::nullopt);
}

TEST(HostExceptions, AreTakenInTheOrderRaised) {
    Host host;
    host.Raise("RuntimeException", "first");
    host.Raise("OutOfBoundsException", "second");
    EXPECT_EQ(host.TakeException()->MessageUtf8(), "first");
    EXPECT_EQ(host.TakeException()->className, "OutOfBoundsException");
}

TEST(HostExceptions, NotTakenAreLeftOver) {
    Host host;
    host.Raise("RuntimeException", "forgotten");
    EXPECT_THAT(host.WriteOffLeftovers(),
                ElementsAre(HasSubstr("exception 1 is left"), HasSubstr("string 2 is left")));
}

TEST(HostExceptions, HaveTheirNumberAsAProperty) {
    Host host;
    const REALobject instance = services::REALnewInstance()("RuntimeException");
    services::REALSetPropValueInteger()(instance, "errornumber", 42);
    REALinteger number = 0;
    EXPECT_TRUE(services::REALGetPropValueInteger()(instance, "ErrorNumber", &number));
    EXPECT_EQ(number, 42);
    EXPECT_FALSE(services::REALSetPropValueInteger()(instance, "Width", 1));
    EXPECT_FALSE(services::REALSetPropValueString()(instance, "Title", nullptr));
    services::REALUnlockObject()(instance);
}

TEST(HostExceptions, OfEveryStandardClassCanBeMade) {
    Host host;
    for (const char* name : {"RuntimeException", "NilObjectException", "OutOfMemoryException",
                             "OutOfBoundsException", "IllegalCastException"}) {
        const REALobject instance = services::REALnewInstance()(name);
        services::REALRaiseException()(instance);
        services::REALUnlockObject()(instance);
        EXPECT_EQ(host.TakeException()->className, name);
    }
    EXPECT_EQ(services::REALnewInstance()("NoSuchException"), nullptr);
    EXPECT_EQ(services::REALnewInstance()(nullptr), nullptr);
}

TEST(HostExceptions, OnlyExceptionsCanBeRaised) {
    Host host;
    const Held<Picture> picture = host.CreatePicture({});
    services::REALRaiseException()(picture.Handle());
    EXPECT_FALSE(host.TakeException().has_value());
    EXPECT_EQ(host.Books().TakeErrors().size(), 1);
    services::REALRaiseException()(nullptr);
    EXPECT_FALSE(host.TakeException().has_value());
}

TEST(HostClasses, AnApplicationClassTellsTheRuntime) {
    const auto has = [](const char* name) { return services::REALGetClassRef()(name) != nullptr; };
    {
        const Host desktop({.runtime = Runtime::Desktop});
        EXPECT_TRUE(has("Application"));
        EXPECT_FALSE(has("ConsoleApplication"));
        EXPECT_FALSE(has("WebApplication"));
        EXPECT_TRUE(has("Picture"));
        EXPECT_FALSE(has("NoSuchClass"));
        EXPECT_FALSE(has(nullptr));
    }
    {
        const Host console({.runtime = Runtime::Console});
        EXPECT_FALSE(has("Application"));
        EXPECT_TRUE(has("ConsoleApplication"));
    }
    const Host web({.applicationClasses = {{"WebApplication"}}});
    EXPECT_TRUE(has("WebApplication"));
    EXPECT_FALSE(has("Application"));
}

TEST(HostClasses, AReferenceIsTheSameEveryTime) {
    const Host host;
    EXPECT_EQ(services::REALGetClassRef()("Picture"), services::REALGetClassRef()("Picture"));
    EXPECT_NE(services::REALGetClassRef()("Picture"), services::REALGetClassRef()("Graphics"));
}

}  // namespace
}  // namespace workbench
