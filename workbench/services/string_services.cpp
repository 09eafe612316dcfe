// Services for host strings.
// Reached through the directory; what cannot be made is null.
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "workbench/host/host.h"
#include "workbench/objects/object_store.h"
#include "workbench/services/service_desk.h"

namespace workbench {

namespace {

REALstring MakeText(Host& host, const char* bytes, std::int32_t length, REALencoding encoding,
                    Origin origin) {
    if (bytes == nullptr || length < 0) return nullptr;
    try {
        std::string content(bytes, static_cast<std::size_t>(length));
        return host.Objects().Make<Text>(origin, std::move(content), encoding).Release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

REALstring ServiceDesk::originalREALBuildString(const char* bytes, std::int32_t length) {
    return MakeText(host_, bytes, length, REALencoding::Unknown, "REALBuildString");
}

REALstring ServiceDesk::REALBuildStringWithEncoding(const char* bytes, std::int32_t length,
                                                    REALencoding encoding) {
    return MakeText(host_, bytes, length, encoding, "REALBuildStringWithEncoding");
}

void ServiceDesk::REALSetStringEncoding(REALstring string, REALencoding encoding) {
    if (Text* text = host_.Find(string, "REALSetStringEncoding")) text->encoding = encoding;
}

REALstring ServiceDesk::REALConvertString(REALstring string, REALencoding encoding) {
    constexpr Origin origin = "REALConvertString";
    const Text* text = host_.Find(string, origin);
    if (text == nullptr) return nullptr;
    try {
        std::string converted = ConvertText(text->bytes, text->encoding, encoding);
        return host_.Objects().Make<Text>(origin, std::move(converted), encoding).Release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    } catch (const std::invalid_argument&) {
        return nullptr;  // an encoding that the host does not know
    }
}

void ServiceDesk::REALUnlockString(REALstring string) {
    host_.Objects().Release(string, "REALUnlockString");
}

}  // namespace workbench
