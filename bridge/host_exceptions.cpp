// The making of host exceptions, and the table from the standard library's types to host classes.
#include "bridge/host_exceptions.h"

#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <typeinfo>

#include "bridge/host_reference.h"
#include "bridge/host_services.h"
#include "bridge/host_strings.h"

namespace zvk {

namespace {

void RaiseWithString(const char* className, const StringReference& message) {
    REALobject created = REALnewInstance(className);
    if (created == nullptr) created = REALnewInstance("RuntimeException");
    const HostReference<REALobjectStruct> exception(created);
    if (!exception) return;
    REALSetPropValueString(exception.get(), "Message", message.get());
    REALSetPropValueInteger(exception.get(), "ErrorNumber", 0);
    REALRaiseException(exception.get());
}

// What the host is told about an exception; the message lives as long as the exception.
struct Report {
    const char* className;
    const char* message;
};

// The first clause that matches counts. Deliberate: range, overflow and underflow errors are out of
// bounds although they are runtime errors.
Report ReportCurrentException() {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return {"OutOfMemoryException", "Failed to allocate memory."};
    } catch (const std::range_error& error) {
        return {"OutOfBoundsException", error.what()};
    } catch (const std::out_of_range& error) {
        return {"OutOfBoundsException", error.what()};
    } catch (const std::overflow_error& error) {
        return {"OutOfBoundsException", error.what()};
    } catch (const std::underflow_error& error) {
        return {"OutOfBoundsException", error.what()};
    } catch (const std::bad_cast& error) {
        return {"IllegalCastException", error.what()};
    } catch (const std::exception& error) {
        return {"RuntimeException", error.what()};
    } catch (...) {
        return {"RuntimeException", "Sorry, but there was an unnamed C++ Exception."};
    }
}

// Builds the message of an exception that came out of building a string; null if that throws again,
// so that a host whose strings always fail is not asked without end.
REALstring BuildMessageOrNull(const char* message) {
    try {
        return BuildUnicodeStringUnguarded(message, static_cast<std::int64_t>(std::strlen(message)),
                                           REALencoding::Ascii);
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

void RaiseException(const char* className, const char* message) {
    REALstring text = nullptr;
    if (message != nullptr) {
        text = REALBuildUnicodeString(message, static_cast<std::int64_t>(std::strlen(message)),
                                      REALencoding::Ascii);
    }
    const StringReference string(text);
    RaiseWithString(className, string);
}

void RaiseCurrentException() {
    const Report report = ReportCurrentException();
    const StringReference string(BuildMessageOrNull(report.message));
    RaiseWithString(report.className, string);
}

}  // namespace zvk
