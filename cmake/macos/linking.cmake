# How a library for macOS is linked: natively with the system's own libraries, or elsewhere with
# stubs that name exactly what may be imported from each, so that an import more fails the link.

set(zvk_macos_folder ${CMAKE_CURRENT_LIST_DIR})

# zvk_link_for_macos(<target>): one export, no code that nothing uses.
function(zvk_link_for_macos target)
    set_target_properties(${target} PROPERTIES
        INSTALL_NAME_DIR "@rpath" BUILD_WITH_INSTALL_NAME_DIR ON)
    target_link_options(${target} PRIVATE
        -Wl,-exported_symbol,_REALPluginMain -Wl,-dead_strip -Wl,-adhoc_codesign)
    if(CMAKE_CROSSCOMPILING)
        file(GLOB stubs CONFIGURE_DEPENDS ${zvk_macos_folder}/*.tbd)
        target_link_options(${target} PRIVATE
            -nostdlib --ld-path=/usr/bin/ld64.lld-16 -mlinker-version=700)
        target_link_libraries(${target} PRIVATE ${stubs})
        set_target_properties(${target} PROPERTIES LINK_DEPENDS "${stubs}")
    else()
        target_link_libraries(${target} PRIVATE
            "-framework CoreGraphics" "-framework CoreServices" "-framework CoreAudio")
    endif()
endfunction()
