// The host exceptions that DrawPictureFZVK raises for nil pictures: class, message, encoding,
// error number, and what becomes of them where services are missing, fail or throw themselves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "tests/support/session.h"

namespace contract {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using workbench::RaisedException;

// Raises the exception for a nil receiver.
void DrawOntoNil(Session& session) {
    const auto picture = session.Create(2, 2);
    EXPECT_FALSE(session.DrawPicture(nullptr, picture.Handle(), 0, 0));
}

void ExpectException(Session& session, const std::string& className,
                     const std::optional<std::string>& message) {
    const std::optional<RaisedException> raised = session.host().TakeException();
    ASSERT_TRUE(raised) << "expected a " << className;
    EXPECT_EQ(raised->className, className);
    EXPECT_EQ(raised->message, message);
    EXPECT_EQ(raised->errorNumber, 0);
    if (message) {
        EXPECT_EQ(raised->encoding, REALencoding::Ascii);
    }
}

void ExpectNoMoreExceptions(Session& session) {
    EXPECT_EQ(session.host().TakeException(), std::nullopt);
}

TEST(HostExceptions, SayThatTheSourceIsNilForANilReceiver) {
    for (const HostSettings& settings : {Desktop(), Console()}) {
        Session session(settings);
        DrawOntoNil(session);
        ExpectException(session, "NilObjectException", "source is nil");
        EXPECT_FALSE(session.DrawPicture(nullptr, nullptr, 0, 0));
        ExpectException(session, "NilObjectException", "source is nil");
        ExpectNoMoreExceptions(session);
    }
}

TEST(HostExceptions, SayThatThePictureIsNilForANilArgument) {
    Session session(Desktop());
    const auto self = session.Create(2, 2);
    EXPECT_FALSE(session.DrawPicture(self.Handle(), nullptr, 0, 0));
    ExpectException(session, "NilObjectException", "picture is nil");
    ExpectNoMoreExceptions(session);
}

TEST(HostExceptions, ComeBeforeAnythingElseAndWithoutAYield) {
    Session session(Desktop());
    session.YieldAlways();
    const auto self = session.Create(2, 2);
    session.KeepTrace();
    EXPECT_FALSE(session.DrawPicture(self.Handle(), nullptr, 0, 0, 1.0, 1));
    EXPECT_THAT(session.ServicesCalled(),
                ElementsAre("REALBuildString", "REALSetStringEncoding", "PluginNewInstance",
                            "REALSetPropValueString", "REALSetPropValueInteger",
                            "RuntimeRaiseException", "REALUnlockObject", "REALUnlockString"));
    ExpectException(session, "NilObjectException", "picture is nil");
}

TEST(HostExceptions, AreRuntimeExceptionsWhereTheHostHasNoSuchClass) {
    Session session(Desktop());
    session.host().Failing().FailOnly(Service::REALnewInstance, 1);
    DrawOntoNil(session);
    ExpectException(session, "RuntimeException", "source is nil");
    ExpectNoMoreExceptions(session);
}

TEST(HostExceptions, AreNotRaisedWhereTheHostMakesNoInstance) {
    Session session(Desktop());
    session.host().Failing().FailFrom(Service::REALnewInstance, 1);
    DrawOntoNil(session);
    ExpectNoMoreExceptions(session);
}

TEST(HostExceptions, HaveNoMessageWhereTheHostMakesNoString) {
    Session session(Desktop());
    session.host().Failing().FailFrom(Service::originalREALBuildString, 1);
    DrawOntoNil(session);
    ExpectException(session, "NilObjectException", std::nullopt);
    ExpectNoMoreExceptions(session);
}

// Each service of the road missing by itself: the others are called all the same.

void ExpectWithout(Service service, const std::function<void(Session&)>& check) {
    HostSettings settings = Desktop();
    settings.missingServices = {std::string(workbench::Info(service).name)};
    Session session(settings);
    DrawOntoNil(session);
    check(session);
    ExpectNoMoreExceptions(session);
}

TEST(HostExceptions, DoWithoutAnyOneService) {
    ExpectWithout(Service::originalREALBuildString, [](Session& session) {
        ExpectException(session, "NilObjectException", std::nullopt);
    });
    ExpectWithout(Service::REALSetStringEncoding, [](Session& session) {
        const auto raised = session.host().TakeException();
        ASSERT_TRUE(raised);
        EXPECT_EQ(raised->message, "source is nil");
        EXPECT_NE(raised->encoding, REALencoding::Ascii);
    });
    ExpectWithout(Service::REALnewInstance, [](Session&) {});
    ExpectWithout(Service::REALSetPropValueString, [](Session& session) {
        ExpectException(session, "NilObjectException", std::nullopt);
    });
    ExpectWithout(Service::REALSetPropValueInteger, [](Session& session) {
        ExpectException(session, "NilObjectException", "source is nil");
    });
    ExpectWithout(Service::REALRaiseException, [](Session&) {});
    ExpectWithout(Service::REALUnlockObject, [](Session& session) {
        ExpectException(session, "NilObjectException", "source is nil");
        EXPECT_THAT(session.host().WriteOffLeftovers(), SizeIs(2)) << "the instance, its message";
    });
    ExpectWithout(Service::REALUnlockString, [](Session& session) {
        ExpectException(session, "NilObjectException", "source is nil");
        EXPECT_THAT(session.host().WriteOffLeftovers(), SizeIs(1)) << "the message";
    });
}

TEST(HostExceptions, SetTheErrorNumberToZero) {
    Session session(Desktop());
    session.KeepTrace();
    DrawOntoNil(session);
    EXPECT_THAT(session.CallsOf(Service::REALSetPropValueInteger),
                ElementsAre(::testing::HasSubstr("\"ErrorNumber\", 0")));
    ExpectException(session, "NilObjectException", "source is nil");
}

// A host whose string service throws: the exception becomes a host exception by a fixed table, and
// the exception that was to be raised follows without its message.

struct Thrown {
    std::function<void()> raise;
    std::string className;
    std::string message;
};

std::vector<Thrown> ThrownTypes() {
    const std::string unnamed = "Sorry, but there was an unnamed C++ Exception.";
    return {
        {[] { throw std::bad_alloc(); }, "OutOfMemoryException", "Failed to allocate memory."},
        {[] { throw std::bad_array_new_length(); }, "OutOfMemoryException",
         "Failed to allocate memory."},
        {[] { throw std::range_error("range"); }, "OutOfBoundsException", "range"},
        {[] { throw std::out_of_range("beyond"); }, "OutOfBoundsException", "beyond"},
        {[] { throw std::overflow_error("over"); }, "OutOfBoundsException", "over"},
        {[] { throw std::underflow_error("under"); }, "OutOfBoundsException", "under"},
        {[] { throw std::length_error("length"); }, "RuntimeException", "length"},
        {[] { throw std::invalid_argument("argument"); }, "RuntimeException", "argument"},
        {[] { throw std::logic_error("logic"); }, "RuntimeException", "logic"},
        {[] { throw std::runtime_error("runtime"); }, "RuntimeException", "runtime"},
        {[] { throw std::bad_cast(); }, "IllegalCastException", std::bad_cast().what()},
        {[] { throw std::bad_typeid(); }, "RuntimeException", std::bad_typeid().what()},
        {[] { throw std::exception(); }, "RuntimeException", std::exception().what()},
        {[] { throw 42; }, "RuntimeException", unnamed},
        {[] { throw "text"; }, "RuntimeException", unnamed},
    };
}

TEST(HostExceptions, StandForWhatAStringServiceThrows) {
    for (const Thrown& thrown : ThrownTypes()) {
        SCOPED_TRACE(thrown.className + ": " + thrown.message);
        Session session(Desktop());
        bool hasThrown = false;
        session.host().Failing().SetHook([&](Service service) {
            if (service != Service::originalREALBuildString || hasThrown) return;
            hasThrown = true;
            thrown.raise();
        });
        DrawOntoNil(session);
        EXPECT_TRUE(hasThrown);
        ExpectException(session, thrown.className, thrown.message);
        ExpectException(session, "NilObjectException", std::nullopt);
        ExpectNoMoreExceptions(session);
    }
}

TEST(HostExceptions, DoNotRecurseWhereEveryStringServiceThrows) {
    for (const Thrown& thrown : ThrownTypes()) {
        Session session(Desktop());
        std::uint64_t attempts = 0;
        session.host().Failing().SetHook([&](Service service) {
            if (service != Service::originalREALBuildString) return;
            ++attempts;
            thrown.raise();
        });
        DrawOntoNil(session);
        EXPECT_EQ(attempts, 2U) << "the message, and the message of what became of it";
        ExpectException(session, thrown.className, std::nullopt);
        ExpectException(session, "NilObjectException", std::nullopt);
        ExpectNoMoreExceptions(session);
    }
}

}  // namespace
}  // namespace contract
