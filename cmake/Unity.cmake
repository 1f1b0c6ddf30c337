# compile_alone(FILE...): keeps files out of the unity build that the presets make, which compiles eight files of a target as one. These have
# an anonymous namespace whose names another file of the target has too.
function(compile_alone)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
