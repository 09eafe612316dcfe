// The host's handles, scalar types and numbered constants.
// Included by the plugin and by every host that loads it; holds declarations only and knows
// neither side.
#pragma once

#include <cstdint>

// Host objects are opaque and counted by references. The empty types say which handle may stand
// where: a picture or a graphics object is an object, a string or a class reference is not.
struct REALobjectStruct {};
struct REALpictureStruct : REALobjectStruct {};
struct REALgraphicsStruct : REALobjectStruct {};
struct REALstringStruct {};
struct REALclassStruct {};

using REALobject = REALobjectStruct*;
using REALpicture = REALpictureStruct*;
using REALgraphics = REALgraphicsStruct*;
using REALstring = REALstringStruct*;
using REALclassRef = REALclassStruct*;

// A host boolean: one byte, 0 is false and anything else is true.
using REALboolean = signed char;

// A host integer.
using REALinteger = std::int64_t;

// A function of any type: cast it to its real type before the call.
using REALfunction = void (*)();

// Finds a host service by its NUL-terminated name; null if the host lacks it.
using REALresolver = REALfunction (*)(const char* name);

// What a picture description's handle is.
enum class REALdescriptionKind : std::int32_t {
    BitmapContext = 8,  // a CoreGraphics bitmap context: desktop applications
    ConsoleImage = 10,  // a truecolor libgd image: console and web applications
};

// Text encodings, in the operating system's published numbering.
enum class REALencoding : std::uint32_t {
    SystemDefault = 0,
    Utf16 = 0x100,
    WindowsLatin1 = 0x500,
    Ascii = 0x600,
    Unknown = 0xFFFF,
    Utf8 = 0x08000100,
    Utf32 = 0x0C000100,
};

// Host versions at which the interface changed, as the host reports them.
namespace REALversion {
inline constexpr double AttributeFlags = 2010.029;       // flag bits moved from the high half
inline constexpr double AlphaChannelPictures = 2011.04;  // pictures with an alpha channel
inline constexpr double Interface10 = 2012.0;            // also: strings built with an encoding
inline constexpr double Interface11 = 2013.0;            // also: modules in place of extensions
inline constexpr double Interface12 = 2013.03;
inline constexpr double Interface13 = 2013.04;
inline constexpr double ExtensionsAgain = 3000.0;  // class extensions in place of modules
}  // namespace REALversion
