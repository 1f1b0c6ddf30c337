# mb_exports(TARGET LIST): the library exports exactly the names in LIST.def (Windows) or in the version script LIST.map (Linux). Hidden
# visibility is not enough: templates of the standard library declare themselves visible, and one with a static variable becomes a unique
# symbol, which keeps the library loaded until the process ends.
function(mb_exports target list)
    if(WIN32)
        target_sources(${target} PRIVATE ${list}.def)
    else()
        target_link_options(${target} PRIVATE "LINKER:--version-script=${list}.map")
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${list}.map)
    endif()
endfunction()

# mb_component(TARGET): a component server. It exports its four entry points; its other code is hidden, so that it counts only its own
# objects.
function(mb_component target)
    set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    mb_exports(${target} ${PROJECT_SOURCE_DIR}/SyncEng/res/component)
endfunction()
