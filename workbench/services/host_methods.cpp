// The methods that host objects have: drawing, picture construction and masks.
// Called by the plugin as plain functions with the object first; they raise host exceptions where
// host code would see one, and never throw what the plugin could not expect.
#include "workbench/services/host_methods.h"

#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <tuple>

#include "workbench/objects/graphics.h"
#include "workbench/objects/object_store.h"
#include "workbench/pictures/drawing.h"
#include "workbench/services/traced_call.h"

namespace workbench {

namespace {

constexpr std::string_view drawPicture =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
constexpr std::string_view constructor = "Constructor(width as integer, height as integer)";
constexpr std::string_view copyMask = "CopyMask as Picture";
constexpr std::string_view maskSetter = "Mask(assigns newMask As Picture)";

constexpr REALinteger wholeSource = -10000;  // the declared default of sw and sh

/// Runs a method in the trace; memory that runs out becomes the host's own exception.
template <typename Body, typename... Types>
auto RunMethod(const char* name, const std::tuple<Types...>& arguments, Body&& body)
    -> decltype(body(std::declval<Host&>())) {
    using Result = decltype(body(std::declval<Host&>()));
    Host* host = Host::Current();
    if (host == nullptr) throw std::logic_error(std::string(name) + " was called without a host");
    return TracedCall(*host, std::nullopt, name, arguments, [&](TraceEntry&) -> Result {
        try {
            return body(*host);
        } catch (const std::bad_alloc&) {
            host->Raise("OutOfMemoryException", "Not enough memory for a picture.");
            return Result();
        }
    });
}

void DrawPictureMethod(REALgraphics graphics, REALpicture image, REALinteger x, REALinteger y,
                       REALinteger w, REALinteger h, REALinteger sx, REALinteger sy, REALinteger sw,
                       REALinteger sh) {
    constexpr const char* name = "Graphics.DrawPicture";
    RunMethod(name, std::tuple(graphics, image, x, y, w, h, sx, sy, sw, sh), [&](Host& host) {
        const auto* target = host.Objects().Find<Graphics>(graphics, name);
        const Picture* source = host.Find(image, name);
        if (target == nullptr || target->Target() == nullptr) return;
        if (source == nullptr) {
            host.Raise("NilObjectException", "There is no picture to draw.");
            return;
        }
        const Rectangle from{sx, sy, sw == wholeSource ? source->Width() : sw,
                             sh == wholeSource ? source->Height() : sh};
        DrawPicture(*target->Target(), *source, {x, y, w, h}, from);
    });
}

void ConstructorMethod(REALpicture picture, REALinteger width, REALinteger height) {
    constexpr const char* name = "Picture.Constructor";
    RunMethod(name, std::tuple(picture, width, height), [&](Host& host) {
        Picture* instance = host.Find(picture, name);
        if (instance == nullptr) return;
        constexpr REALinteger most = std::numeric_limits<int>::max();
        if (width < 1 || height < 1 || width > most || height > most) {
            host.Raise("OutOfBoundsException", "A picture cannot have that size.");
            return;
        }
        PictureOptions options;
        options.width = static_cast<int>(width);
        options.height = static_cast<int>(height);
        options.alphaChannel = true;
        instance->Construct(options, host.Settings());
        if (host.Settings().onNewPicture) host.Settings().onNewPicture(*instance);
    });
}

REALpicture CopyMaskMethod(REALpicture picture) {
    constexpr const char* name = "Picture.CopyMask";
    return RunMethod(name, std::tuple(picture), [&](Host& host) -> REALpicture {
        const Picture* source = host.Find(picture, name);
        return source == nullptr ? nullptr : host.CopyMask(*source).Release();
    });
}

void MaskSetterMethod(REALpicture picture, REALpicture mask) {
    constexpr const char* name = "Picture.Mask";
    RunMethod(name, std::tuple(picture, mask), [&](Host& host) {
        Picture* target = host.Find(picture, name);
        Picture* newMask = host.Find(mask, name);
        // A handle that is wrong is an error in the ledger already, and no wish for no mask.
        if (target == nullptr || (newMask == nullptr && mask != nullptr)) return;
        host.SetMask(*target, newMask);
    });
}

template <typename Function>
REALfunction Plain(Function* function) {
    return reinterpret_cast<REALfunction>(function);
}

}  // namespace

REALfunction FindHostMethod(const Host& host, const Object& object, std::string_view declaration) {
    if (host.Failing().IsMethodMissing(declaration)) return nullptr;
    if (dynamic_cast<const Graphics*>(&object) != nullptr) {
        return declaration == drawPicture ? Plain(&DrawPictureMethod) : nullptr;
    }
    if (dynamic_cast<const Picture*>(&object) == nullptr) return nullptr;
    if (declaration == copyMask) return Plain(&CopyMaskMethod);
    if (declaration == maskSetter) return Plain(&MaskSetterMethod);
    const bool alphaKnown = host.Version() >= REALversion::AlphaChannelPictures;
    return alphaKnown && declaration == constructor ? Plain(&ConstructorMethod) : nullptr;
}

}  // namespace workbench
