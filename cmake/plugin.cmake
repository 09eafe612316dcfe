# The plugin: one shared library with one exported symbol.

set(plugin_sources
    bridge/console_image.cpp
    bridge/declarations.cpp
    bridge/host_drawing.cpp
    bridge/host_exceptions.cpp
    bridge/host_services.cpp
    bridge/host_strings.cpp
    bridge/host_version.cpp
    bridge/plugin_main.cpp
    bridge/registration.cpp
    bridge/yielding.cpp
    filters/blur.cpp
    filters/drawing.cpp
    kernels/box_average.cpp
    kernels/box_blur.cpp
    kernels/compositing.cpp
    kernels/drawing_weights.cpp
    kernels/instruction_set.cpp
    kernels/interpolation.cpp
    kernels/level_avx2.cpp
    kernels/level_avx512.cpp
    kernels/level_baseline.cpp
    kernels/level_sse41.cpp
    kernels/resampling.cpp
    pixels/bitmap_context.cpp
    pixels/picture_copy.cpp
    pixels/picture_editor.cpp
    pixels/picture_properties.cpp
    pixels/picture_writer.cpp
    pixels/shared_pixels.cpp
    scaling/bounded_table.cpp
    scaling/contributions.cpp
    scaling/fast_scaling.cpp
    scaling/fixed_table.cpp
    scaling/resample_passes.cpp
    scaling/scale_methods.cpp
    scaling/scaling_method.cpp
    scaling/smooth_enlargement.cpp)

# Kernels are compiled once per level of instruction sets. GCC warns of the deliberately undefined
# vectors inside its own AVX-512 header.
set(kernel_options -O3)
if(ZVK_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Inlined as they are, kernels hold nine of ten checks for undefined behaviour. A description of
    # each of them would be most of a library that is loaded anew for thousands of cases, so here a
    # check that fails traps, and AddressSanitizer tells where (`handle_sigill`). GCC clears the
    # upper halves of registers behind a kernel only if it may take its time.
    set(kernel_options -O1 -fexpensive-optimizations -fsanitize-undefined-trap-on-error)
endif()
set_source_files_properties(kernels/level_baseline.cpp PROPERTIES
    COMPILE_OPTIONS "${kernel_options}")
set_source_files_properties(kernels/level_sse41.cpp PROPERTIES
    COMPILE_OPTIONS "${kernel_options};-msse4.1")
set_source_files_properties(kernels/level_avx2.cpp PROPERTIES
    COMPILE_OPTIONS "${kernel_options};-mavx2;-mfma")
set_source_files_properties(kernels/level_avx512.cpp PROPERTIES
    COMPILE_OPTIONS "${kernel_options};-mavx512f;-mavx512bw;-mavx512dq;-mavx512vl;-mavx512vnni;-mfma;-Wno-uninitialized;$<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>")

if(APPLE)
    include(cmake/macos/linking.cmake)
endif()

# The objects are targets of their own so that unit tests can reach what the library hides.
set(plugin_options -fvisibility=hidden -fvisibility-inlines-hidden)
if(ZVK_COVERAGE)
    list(APPEND plugin_options -fprofile-instr-generate -fcoverage-mapping)
endif()
add_library(plugin_objects OBJECT ${plugin_sources})
target_compile_options(plugin_objects PRIVATE ${plugin_options})
add_library(selection_objects OBJECT kernels/selection.cpp)
target_compile_options(selection_objects PRIVATE ${plugin_options})

# zvk_add_plugin(<target> <objects>...): the shared library made of the given objects.
function(zvk_add_plugin target)
    list(TRANSFORM ARGN REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)
    if(APPLE)
        add_library(${target} SHARED ${objects})
        zvk_link_for_macos(${target})
    else()
        add_library(${target} MODULE ${objects})
        set(exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
        target_link_options(${target} PRIVATE -Wl,--version-script=${exports} -Wl,--as-needed)
        set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
    endif()
    set_target_properties(${target} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX)
endfunction()

zvk_add_plugin(vandrel_picture plugin_objects selection_objects)

# The same library for one level of instruction sets each, for tests and benchmarks.
foreach(level Baseline Sse41 Avx2 Avx512)
    string(TOLOWER ${level} name)
    add_library(selection_${name} OBJECT EXCLUDE_FROM_ALL kernels/selection.cpp)
    target_compile_options(selection_${name} PRIVATE ${plugin_options})
    target_compile_definitions(selection_${name} PRIVATE ZVK_FIXED_LEVEL=${level})
    zvk_add_plugin(vandrel_picture_${name} plugin_objects selection_${name})
    set_target_properties(vandrel_picture_${name} PROPERTIES EXCLUDE_FROM_ALL ON)
endforeach()
