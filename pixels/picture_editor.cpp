// Attaching to a host picture's memory and letting go of it.
#include "pixels/picture_editor.h"

#include "bridge/console_image.h"
#include "bridge/host_reference.h"
#include "bridge/host_services.h"
#include "kernels/arithmetic.h"
#include "kernels/streaming.h"
#include "pixels/bitmap_context.h"
#include "pixels/picture_copy.h"
#include "pixels/picture_properties.h"

namespace zvk {

constinit RuntimeKind runtimeKind = RuntimeKind::Unknown;

namespace {

// Asks the host for its application classes, until the runtime is known. A console class decides
// for console even where a web class stands beside it.
void DetectRuntimeKind() {
    if (runtimeKind != RuntimeKind::Unknown) return;
    const bool hasApplication = REALGetClassRef("Application") != nullptr;
    const bool hasWebApplication = REALGetClassRef("WebApplication") != nullptr;
    const bool hasConsoleApplication = REALGetClassRef("ConsoleApplication") != nullptr;
    if (hasApplication) {
        runtimeKind = RuntimeKind::Desktop;
    } else if (hasConsoleApplication || hasWebApplication) {
        runtimeKind = RuntimeKind::Console;
    }
}

// Storage types that the host keeps in a form of its own cannot be written in place.
bool TypeAllows(bool writing, REALpicture picture) {
    if (REALGetPictureType.Find() == nullptr) return true;
    const REALinteger type = REALGetPictureType(picture);
    return !writing || (type != 0 && type != 1 && type != 3);
}

// The described libgd image if it is a truecolor one, else null.
const REALconsoleImage* TruecolorImage(const REALpictureDescription& description) {
    const REALconsoleImage* image = DescribedConsoleImage(description);
    const bool isTruecolor = image != nullptr && image->pixels == nullptr && image->trueColor != 0;
    return isTruecolor ? image : nullptr;
}

}  // namespace

PictureEditor::~PictureEditor() {
    Release();
}

bool PictureEditor::GetPictureEditor(REALpicture subject, bool mayCopy, bool willWrite) {
    Release();
    if (subject == nullptr) return false;
    allowCopy = mayCopy;
    writable = willWrite;
    DetectRuntimeKind();
    if (!TypeAllows(willWrite, subject)) return false;
    hasAlpha = HasAlphaChannel(subject);

    if (runtimeKind != RuntimeKind::Console) {
        if (LockDescription(subject, REALdescriptionKind::BitmapContext)) {
            runtimeKind = RuntimeKind::Desktop;
            return AttachBitmapContext(subject);
        }
        if (!hasAlpha && mayCopy && !willWrite) {
            const PictureReference copy = CopyPicture(subject);
            // The copy must lock: with copying allowed, a host that can lock nothing would have
            // copies of copies made without end.
            if (copy) return GetPictureEditor(copy.get(), false, false);
        }
    }
    return AttachConsoleImage(subject);
}

REALpicture PictureEditor::RenderPictureWriter() {
    REALpicture result = nullptr;
    kernels::EndStreams();
    if (picture != nullptr) {
        result = AddReference(picture);
        REALPictureClearCache(picture);
    } else if (buffer != nullptr) {
        constexpr REALinteger pixelType = 1;
        result = REALBuildPictureFromBuffer(static_cast<std::int32_t>(width),
                                            static_cast<std::int32_t>(height), pixelType, buffer,
                                            static_cast<std::int32_t>(rowBytes));
    }
    Release();
    return result;
}

void PictureEditor::Release() {
    if (picture == nullptr) return;
    if (writable) kernels::EndStreams();
    if (descriptionLocked) REALUnlockPictureDescription(picture);
    descriptionLocked = false;
    if (writable) REALPictureClearCache(picture);
    REALUnlockObject(picture);
    picture = nullptr;
}

bool PictureEditor::LockDescription(REALpicture subject, REALdescriptionKind kind) {
    description = {};
    return REALLockPictureDescription(subject, &description, static_cast<REALinteger>(kind)) != 0;
}

bool PictureEditor::AttachBitmapContext(REALpicture subject) {
    if (const auto context = QueryBitmapContext(description)) {
        pixelFormat = FormatOfAlphaInfo(context->alphaInfo, hasAlpha);
        // Deliberate: a context with another alpha info stays locked. Hosts have always seen it so,
        // and one unlock more would be a change they can observe.
        if (pixelFormat == PixelFormat::None) return false;
        if (context->IsUsable() && HoldPicture(subject)) {
            if (hasAlpha) premultipliedAlpha = true;
            width = static_cast<std::int64_t>(context->width);
            height = static_cast<std::int64_t>(context->height);
            rowBytes = static_cast<std::int64_t>(context->bytesPerRow);
            TakeRows(context->data);
            return true;
        }
    }
    REALUnlockPictureDescription(subject);
    return false;
}

bool PictureEditor::AttachConsoleImage(REALpicture subject) {
    if (runtimeKind == RuntimeKind::Desktop) return false;
    if (!LockDescription(subject, REALdescriptionKind::ConsoleImage)) return false;
    runtimeKind = RuntimeKind::Console;
    const REALconsoleImage* image = TruecolorImage(description);
    if (image == nullptr || !HoldPicture(subject)) {
        REALUnlockPictureDescription(subject);
        return false;
    }
    pixelFormat = PixelFormat::Console;
    width = description.width;
    height = description.height;
    rowBytes = WrappingMultiply<std::int32_t>(description.width, bytesPerPixelWord);
    rowTable = image->tpixels;
    TakeRows(reinterpret_cast<std::uint8_t*>(image->tpixels[0]));
    return true;
}

// A host that cannot count a reference more would take the picture away under the editor.
bool PictureEditor::HoldPicture(REALpicture subject) {
    if (REALLockObject.Find() == nullptr) return false;
    picture = AddReference(subject);
    descriptionLocked = true;
    return true;
}

void PictureEditor::TakeRows(std::uint8_t* rows) {
    firstRow = rows;
    rowPointer = rows;
    bytesPerPixel = bytesPerPixelWord;
    column = 0;
    row = 0;
}

}  // namespace zvk
