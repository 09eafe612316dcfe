# Builds for macOS on x86-64 by Debian's own packages: clang 16 and lld 16, the headers of libc++ 14,
# whose inline functions ask nothing of the library that the oldest system served does not have, and
# musl's C headers. Only functions whose binary interface is the same on both systems are used; the
# stubs beside this file list every one that may be imported.

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_OSX_DEPLOYMENT_TARGET 10.13)
set(CMAKE_OSX_SYSROOT "")

set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_CXX_COMPILER_TARGET x86_64-apple-macos10.13)
set(CMAKE_AR llvm-ar-16)
set(CMAKE_RANLIB llvm-ranlib-16)
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-16)
set(CMAKE_OTOOL llvm-otool-16)

# There is nothing to link a program with, and nothing to run one on.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

add_compile_options(
    -nostdlibinc -nostdinc++
    "SHELL:-isystem /usr/lib/llvm-14/include/c++/v1"
    "SHELL:-isystem /usr/include/x86_64-linux-musl"
    -D_GNU_SOURCE -D_LIBCPP_HAS_NO_THREADS
    -femit-dwarf-unwind=always -fno-stack-protector)

# Unwinders of both systems read the DWARF form. With a compact form beside it the linker would
# leave out what that says as well, so it goes before the linker sees it.
set(CMAKE_CXX_COMPILE_OBJECT
    "<CMAKE_CXX_COMPILER> <DEFINES> <INCLUDES> <FLAGS> -o <OBJECT> -c <SOURCE>"
    "llvm-objcopy-16 --remove-section=__LD,__compact_unwind <OBJECT>")
