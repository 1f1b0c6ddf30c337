# compile_alone(FILE...): excludes files from the unity build of the presets, which compiles eight files as one, because names in their
# anonymous namespaces clash with those of another file of the target.
function(compile_alone)
    set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
