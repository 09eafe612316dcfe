// The records that cross the boundary between plugin and host, byte for byte.
// The plugin fills the registration records and the host keeps pointers into them; the host fills
// picture descriptions. Every offset is pinned: a change here breaks loaded binaries.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hostapi/host_types.h"

// One method of a class or a module.
struct REALmethodDefinition {
    REALfunction function;    // what the host calls
    REALfunction setter;      // called for assignment syntax, or null
    const char* declaration;  // in the host language
    std::uint32_t flags;
    std::uint32_t reserved;
    std::uint64_t words[2];
};
static_assert(offsetof(REALmethodDefinition, function) == 0);
static_assert(offsetof(REALmethodDefinition, setter) == 8);
static_assert(offsetof(REALmethodDefinition, declaration) == 16);
static_assert(offsetof(REALmethodDefinition, flags) == 24);
static_assert(offsetof(REALmethodDefinition, reserved) == 28);
static_assert(offsetof(REALmethodDefinition, words) == 32);
static_assert(sizeof(REALmethodDefinition) == 48);

// One property of a class; only its flags are of interest here.
struct REALpropertyDefinition {
    std::uint64_t leading[3];
    std::uint32_t flags;
    std::uint32_t reserved;
    std::uint64_t trailing[8];
};
static_assert(offsetof(REALpropertyDefinition, flags) == 24);
static_assert(sizeof(REALpropertyDefinition) == 96);

// A class, or an extension of one of the host's own classes.
struct REALclassDefinition {
    std::uint32_t version;  // of the plugin interface
    const char* name;
    REALpropertyDefinition* properties;
    std::int64_t propertyCount;
    REALmethodDefinition* methods;
    std::int64_t methodCount;
    std::uint32_t flags;
    REALpropertyDefinition* sharedProperties;
    std::int64_t sharedPropertyCount;
    REALmethodDefinition* sharedMethods;
    std::int64_t sharedMethodCount;
    std::uint64_t reserved[16];  // zero: constructor, destructor, events, constants and the like
};
static_assert(offsetof(REALclassDefinition, version) == 0);
static_assert(offsetof(REALclassDefinition, name) == 8);
static_assert(offsetof(REALclassDefinition, properties) == 16);
static_assert(offsetof(REALclassDefinition, propertyCount) == 24);
static_assert(offsetof(REALclassDefinition, methods) == 32);
static_assert(offsetof(REALclassDefinition, methodCount) == 40);
static_assert(offsetof(REALclassDefinition, flags) == 48);
static_assert(offsetof(REALclassDefinition, sharedProperties) == 56);
static_assert(offsetof(REALclassDefinition, sharedPropertyCount) == 64);
static_assert(offsetof(REALclassDefinition, sharedMethods) == 72);
static_assert(offsetof(REALclassDefinition, sharedMethodCount) == 80);
static_assert(offsetof(REALclassDefinition, reserved) == 88);
static_assert(sizeof(REALclassDefinition) == 216);

// A module of global methods.
struct REALmoduleDefinition {
    std::uint32_t version;  // of the plugin interface
    const char* name;
    REALmethodDefinition* methods;
    std::int64_t methodCount;
    std::uint64_t reserved[20];  // zero
};
static_assert(offsetof(REALmoduleDefinition, version) == 0);
static_assert(offsetof(REALmoduleDefinition, name) == 8);
static_assert(offsetof(REALmoduleDefinition, methods) == 16);
static_assert(offsetof(REALmoduleDefinition, methodCount) == 24);
static_assert(offsetof(REALmoduleDefinition, reserved) == 32);
static_assert(sizeof(REALmoduleDefinition) == 192);

// What the host tells about a picture's pixels while they are locked.
struct REALpictureDescription {
    REALdescriptionKind kind;  // says what the handle is
    void* handle;
    std::int32_t width;   // in pixels
    std::int32_t height;  // in pixels
    std::uint64_t reserved[16];
};
static_assert(offsetof(REALpictureDescription, kind) == 0);
static_assert(offsetof(REALpictureDescription, handle) == 8);
static_assert(offsetof(REALpictureDescription, width) == 16);
static_assert(offsetof(REALpictureDescription, height) == 20);
static_assert(offsetof(REALpictureDescription, reserved) == 24);
static_assert(sizeof(REALpictureDescription) == 152);

// A libgd 2 image as far as it is read in place: the handle of a console picture's description.
// The layout is libgd's public `gdImage`; the workbench checks it against the library's own header.
struct REALconsoleImage {
    unsigned char** pixels;  // rows of palette indices; null in a truecolor image
    int sx;                  // width in pixels
    int sy;                  // height in pixels
    unsigned char palette[7232];
    int trueColor;  // not 0: `tpixels` holds the rows
    int** tpixels;  // one pointer per row, each to `sx` words 0xAARRGGBB with 7-bit transparency
};
static_assert(offsetof(REALconsoleImage, pixels) == 0);
static_assert(offsetof(REALconsoleImage, sx) == 8);
static_assert(offsetof(REALconsoleImage, sy) == 12);
static_assert(offsetof(REALconsoleImage, trueColor) == 7248);
static_assert(offsetof(REALconsoleImage, tpixels) == 7256);
