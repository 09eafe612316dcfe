// String building by encoding and host version, and the table of exceptions.
#include "bridge/host_strings.h"

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "bridge/host_exceptions.h"
#include "fake_host.h"
#include "refused_memory.h"

namespace zvk {
namespace {

using testing::FakeHost;

// A host string: its bytes and the encoding it is tagged with.
struct TestString : REALstringStruct {
    std::string bytes;
    REALencoding encoding = REALencoding::Unknown;
    int references = 1;
};

struct TestException : REALobjectStruct {
    std::string className;
    bool hasMessage = false;
    TestString* message = nullptr;
    REALinteger errorNumber = -1;
    bool raised = false;
    int references = 1;
};

std::list<TestString> strings;
std::list<TestException> exceptions;
std::vector<std::string> calls;
std::function<void()> onBuildString;

TestString& From(REALstring string) {
    return *static_cast<TestString*>(string);
}
TestException& From(REALobject object) {
    return *static_cast<TestException*>(object);
}

TestString* NewString(std::string bytes, REALencoding encoding) {
    strings.emplace_back();
    strings.back().bytes = std::move(bytes);
    strings.back().encoding = encoding;
    return &strings.back();
}

REALstring BuildString(const char* bytes, std::int32_t length) {
    calls.emplace_back("build");
    if (onBuildString) onBuildString();
    return NewString(std::string(bytes, static_cast<std::size_t>(length)), REALencoding::Unknown);
}

REALstring BuildNothing(const char* /*bytes*/, std::int32_t /*length*/) {
    return nullptr;
}

REALstring BuildWithEncoding(const char* bytes, std::int32_t length, REALencoding encoding) {
    calls.emplace_back("build with encoding");
    return NewString(std::string(bytes, static_cast<std::size_t>(length)), encoding);
}

void SetEncoding(REALstring string, REALencoding encoding) {
    From(string).encoding = encoding;
}

// Marks what it converted; the real conversion is the host's affair.
REALstring Convert(REALstring string, REALencoding encoding) {
    calls.emplace_back("convert");
    return NewString(From(string).bytes, encoding);
}

void UnlockString(REALstring string) {
    --From(string).references;
}

REALobject NewInstance(const char* className) {
    calls.push_back(std::string("new ") + className);
    if (std::string(className) == "NoSuchException") return nullptr;
    exceptions.emplace_back();
    exceptions.back().className = className;
    return &exceptions.back();
}

REALboolean SetString(REALobject object, const char* property, REALstring value) {
    EXPECT_STREQ(property, "Message");
    From(object).hasMessage = true;
    From(object).message = value == nullptr ? nullptr : &From(value);
    return 1;
}

REALboolean SetInteger(REALobject object, const char* property, REALinteger value) {
    EXPECT_STREQ(property, "ErrorNumber");
    From(object).errorNumber = value;
    return 1;
}

void Raise(REALobject object) {
    From(object).raised = true;
}
void UnlockObject(REALobject object) {
    --From(object).references;
}

class HostStrings : public ::testing::Test {
  protected:
    explicit HostStrings(double version = 2013.0) : host(version) {
        strings.clear();
        exceptions.clear();
        calls.clear();
        onBuildString = nullptr;
        host.Offer("REALBuildString", BuildString);
        host.Offer("REALBuildStringWithEncoding", BuildWithEncoding);
        host.Offer("REALSetStringEncoding", SetEncoding);
        host.Offer("REALConvertString", Convert);
        host.Offer("REALUnlockString", UnlockString);
        host.Offer("PluginNewInstance", NewInstance);
        host.Offer("REALSetPropValueString", SetString);
        host.Offer("REALSetPropValueInteger", SetInteger);
        host.Offer("RuntimeRaiseException", Raise);
        host.Offer("REALUnlockObject", UnlockObject);
    }

    // Only `result` may still hold a reference.
    static void ExpectBalanced(REALstring result) {
        for (const TestString& string : strings) {
            EXPECT_EQ(string.references, &string == result ? 1 : 0) << string.bytes;
        }
        for (const TestException& exception : exceptions)
            EXPECT_EQ(exception.references, 0);
    }

    // The UTF-16 units that reached the host for UTF-32 input.
    static std::u16string Utf16Of(const std::u32string& text) {
        const REALstring result = REALBuildUnicodeString(
            text.data(), static_cast<std::int64_t>(text.size() * 4), REALencoding::Utf32);
        ExpectBalanced(result);
        EXPECT_EQ(From(result).encoding, REALencoding::Utf8);
        const std::string& bytes = strings.front().bytes;
        EXPECT_EQ(strings.front().encoding, REALencoding::Utf16);
        return {reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / 2};
    }

    FakeHost host;
};

class HostStringsBefore2013 : public HostStrings {
  protected:
    HostStringsBefore2013() : HostStrings(2012.5) {}
};

class HostStringsOf2012 : public HostStrings {
  protected:
    HostStringsOf2012() : HostStrings(2012.0) {}
};

class HostStringsBefore2012 : public HostStrings {
  protected:
    HostStringsBefore2012() : HostStrings(2011.4) {}
};

TEST_F(HostStrings, OfNoBytesAreNull) {
    EXPECT_EQ(REALBuildUnicodeString("x", 0, REALencoding::Ascii), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("x", -1, REALencoding::Ascii), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("x", 0x80000000LL, REALencoding::Ascii), nullptr);
    EXPECT_EQ(REALBuildUnicodeString(nullptr, 1, REALencoding::Ascii), nullptr);
    EXPECT_TRUE(calls.empty());
}

TEST_F(HostStrings, OfPureAsciiInAnOpenEncodingAreTaggedAsAscii) {
    for (const REALencoding encoding :
         {REALencoding::SystemDefault, REALencoding::WindowsLatin1, REALencoding::Unknown}) {
        const REALstring string = REALBuildUnicodeString("abc", 3, encoding);
        ASSERT_NE(string, nullptr);
        EXPECT_EQ(From(string).encoding, REALencoding::Ascii);
        EXPECT_EQ(From(string).bytes, "abc");
    }
}

TEST_F(HostStrings, WithHighBytesKeepTheGivenEncoding) {
    for (const REALencoding encoding :
         {REALencoding::SystemDefault, REALencoding::WindowsLatin1, REALencoding::Unknown}) {
        const REALstring string = REALBuildUnicodeString("a\x80", 2, encoding);
        ASSERT_NE(string, nullptr);
        EXPECT_EQ(From(string).encoding, encoding);
    }
    const REALstring utf8 = REALBuildUnicodeString("abc", 3, REALencoding::Utf8);
    EXPECT_EQ(From(utf8).encoding, REALencoding::Utf8);
}

TEST_F(HostStringsOf2012, InUtf16AreBuiltWithTheirEncoding) {
    const REALstring string = REALBuildUnicodeString(u"ab", 4, REALencoding::Utf16);
    EXPECT_EQ(calls, (std::vector<std::string>{"build with encoding", "convert"}));
    EXPECT_EQ(From(string).encoding, REALencoding::Utf8);
    ExpectBalanced(string);
}

TEST_F(HostStringsBefore2012, InUtf16AreTaggedAfterTheyAreBuilt) {
    const REALstring string = REALBuildUnicodeString(u"ab", 4, REALencoding::Utf16);
    EXPECT_EQ(calls, (std::vector<std::string>{"build", "convert"}));
    EXPECT_EQ(strings.front().encoding, REALencoding::Utf16);
    ExpectBalanced(string);
}

TEST_F(HostStrings, InUtf32AreConvertedByTheHostSince2013) {
    const REALstring string = REALBuildUnicodeString(U"ab", 8, REALencoding::Utf32);
    EXPECT_EQ(calls, (std::vector<std::string>{"build with encoding", "convert"}));
    EXPECT_EQ(strings.front().encoding, REALencoding::Utf32);
    EXPECT_EQ(From(string).encoding, REALencoding::Utf8);
    ExpectBalanced(string);
}

TEST_F(HostStringsBefore2013, InUtf32BecomeUtf16WithSurrogates) {
    EXPECT_EQ(Utf16Of(U"a\uFFFF\U00010000\U0010FFFF"), u"a\uFFFF\U00010000\U0010FFFF");
}

TEST_F(HostStringsBefore2013, BeyondUnicodeBecomeTheReplacementCharacter) {
    EXPECT_EQ(Utf16Of(std::u32string{0x110000, 0xFFFFFFFF}), u"\uFFFD\uFFFD");
}

TEST_F(HostStringsBefore2013, InUtf32AreConvertedAlikeBelowAndAboveTheFixedBuffer) {
    for (const std::size_t count : {199U, 200U, 5000U}) {
        strings.clear();
        std::u32string text(count, U'\U0001F600');
        std::u16string expected;
        for (std::size_t i = 0; i < count; ++i)
            expected += u"\U0001F600";
        EXPECT_EQ(Utf16Of(text), expected) << count;
    }
}

TEST_F(HostStringsBefore2013, InUtf32IgnoreATrailingPartOfACodePoint) {
    const std::u32string text = U"ab";
    REALBuildUnicodeString(text.data(), 7, REALencoding::Utf32);
    EXPECT_EQ(strings.front().bytes.size(), 2U);
}

TEST_F(HostStrings, LongerThanTheHostCanCountAreNull) {
    const std::int64_t tooLong = std::int64_t{1} << 31U;
    EXPECT_EQ(REALBuildUnicodeStringUTF16("", tooLong), nullptr);
    EXPECT_EQ(REALBuildUnicodeString("", tooLong, REALencoding::Utf8), nullptr);
    EXPECT_TRUE(calls.empty());
}

TEST_F(HostStringsBefore2012, InUtf16AreNullWhereTheHostBuildsNone) {
    host.Offer("REALBuildString", BuildNothing);
    EXPECT_EQ(REALBuildUnicodeString(u"\u00e4", 2, REALencoding::Utf16), nullptr);
    EXPECT_TRUE(calls.empty());
}

TEST_F(HostStringsBefore2013, InUtf32AreNullWhereMemoryForTheirUnitsIsShort) {
    const std::u32string text(200, U'\u00e4');
    const testing::RefusedMemory refused(1);
    EXPECT_EQ(REALBuildUnicodeString(text.data(), 800, REALencoding::Utf32), nullptr);
    EXPECT_TRUE(calls.empty());
}

TEST_F(HostStrings, RaiseNothingWhereTheHostBuildsNone) {
    host.Offer(
        "REALBuildStringWithEncoding",
        +[](const char*, std::int32_t, REALencoding) -> REALstring { return nullptr; });
    EXPECT_EQ(REALBuildUnicodeString(u"ab", 4, REALencoding::Utf16), nullptr);
    EXPECT_TRUE(exceptions.empty());
}

class HostExceptions : public HostStrings {};

TEST_F(HostExceptions, CarryClassMessageAndNumber) {
    RaiseException("NilObjectException", "source is nil");
    ASSERT_EQ(exceptions.size(), 1U);
    const TestException& exception = exceptions.front();
    EXPECT_EQ(exception.className, "NilObjectException");
    ASSERT_NE(exception.message, nullptr);
    EXPECT_EQ(exception.message->bytes, "source is nil");
    EXPECT_EQ(exception.message->encoding, REALencoding::Ascii);
    EXPECT_EQ(exception.errorNumber, 0);
    EXPECT_TRUE(exception.raised);
    ExpectBalanced(nullptr);
}

TEST_F(HostExceptions, OfAnUnknownClassAreRuntimeExceptionsWithTheMessage) {
    RaiseException("NoSuchException", "text");
    ASSERT_EQ(exceptions.size(), 1U);
    EXPECT_EQ(exceptions.front().className, "RuntimeException");
    EXPECT_EQ(exceptions.front().message->bytes, "text");
    EXPECT_EQ(calls,
              (std::vector<std::string>{"build", "new NoSuchException", "new RuntimeException"}));
}

TEST_F(HostExceptions, WithoutMessageSetItToNull) {
    RaiseException("RuntimeException", nullptr);
    ASSERT_EQ(exceptions.size(), 1U);
    EXPECT_TRUE(exceptions.front().hasMessage);
    EXPECT_EQ(exceptions.front().message, nullptr);
    EXPECT_TRUE(exceptions.front().raised);
}

TEST(HostExceptionsWithoutServices, RaiseNothingAndSurvive) {
    const FakeHost host;
    RaiseException("RuntimeException", "text");
}

// What the guard around string building raises for an exception thrown inside.
struct GuardCase {
    const char* name;
    std::function<void()> raise;
    const char* className;
    std::string message;
};

std::vector<GuardCase> GuardCases() {
    return {
        {"bad_alloc", [] { throw std::bad_alloc(); }, "OutOfMemoryException",
         "Failed to allocate memory."},
        {"bad_array_new_length", [] { throw std::bad_array_new_length(); }, "OutOfMemoryException",
         "Failed to allocate memory."},
        {"range_error", [] { throw std::range_error("r"); }, "OutOfBoundsException", "r"},
        {"out_of_range", [] { throw std::out_of_range("o"); }, "OutOfBoundsException", "o"},
        {"overflow_error", [] { throw std::overflow_error("v"); }, "OutOfBoundsException", "v"},
        {"underflow_error", [] { throw std::underflow_error("u"); }, "OutOfBoundsException", "u"},
        {"invalid_argument", [] { throw std::invalid_argument("i"); }, "RuntimeException", "i"},
        {"length_error", [] { throw std::length_error("l"); }, "RuntimeException", "l"},
        {"runtime_error", [] { throw std::runtime_error("t"); }, "RuntimeException", "t"},
        {"bad_cast", [] { throw std::bad_cast(); }, "IllegalCastException", std::bad_cast().what()},
        {"exception", [] { throw std::exception(); }, "RuntimeException", std::exception().what()},
        {"anything else", [] { throw 7; }, "RuntimeException",
         "Sorry, but there was an unnamed C++ Exception."},
    };
}

TEST_F(HostExceptions, StandForEveryTypeThrownWhileAStringIsBuilt) {
    for (const GuardCase& guardCase : GuardCases()) {
        exceptions.clear();
        strings.clear();
        onBuildString = [&] {
            onBuildString = nullptr;
            guardCase.raise();
        };
        EXPECT_EQ(REALBuildUnicodeString("abc", 3, REALencoding::Ascii), nullptr);
        ASSERT_EQ(exceptions.size(), 1U) << guardCase.name;
        EXPECT_EQ(exceptions.front().className, guardCase.className) << guardCase.name;
        ASSERT_NE(exceptions.front().message, nullptr) << guardCase.name;
        EXPECT_EQ(exceptions.front().message->bytes, guardCase.message) << guardCase.name;
        EXPECT_TRUE(exceptions.front().raised) << guardCase.name;
        ExpectBalanced(nullptr);
    }
}

TEST_F(HostExceptions, AreRaisedOnceWithoutMessageWhereBuildingItThrowsAgain) {
    onBuildString = [] { throw std::bad_alloc(); };
    EXPECT_EQ(REALBuildUnicodeString("abc", 3, REALencoding::Ascii), nullptr);
    ASSERT_EQ(exceptions.size(), 1U);
    EXPECT_EQ(exceptions.front().className, "OutOfMemoryException");
    EXPECT_TRUE(exceptions.front().hasMessage);
    EXPECT_EQ(exceptions.front().message, nullptr);
    EXPECT_EQ(calls, (std::vector<std::string>{"build", "build", "new OutOfMemoryException"}));
    ExpectBalanced(nullptr);
}

}  // namespace
}  // namespace zvk
