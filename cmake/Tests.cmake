# mb_test_program(TARGET [SHARDS n] [SERIAL] [PROPERTIES ...]): registers a test program with ctest in two ways.
# - Each test case is a ctest test, for `ctest --preset linux -R NAME`. The cases are listed before they run. Under Wine this may first
#   create the prefix and a display, so the timeout is longer than the usual five seconds.
# - In the configuration "programs" the program is a ctest test, in n parallel shards: `ctest --preset linux -C programs -L programs`.
#   scripts/test uses it, since a process per case costs more than most cases. A shard writes its results to results/ at its end; a shard
#   without that file did not finish.
include(GoogleTest)
function(mb_test_program target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "SHARDS" "PROPERTIES")
    # Optimising the tests costs more time than it saves: they spend their time in the libraries, which stay optimised.
    target_compile_options(${target} PRIVATE -O0)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # A warning that only unity builds cause: a fixture in an anonymous namespace of an included file.
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 PROPERTIES RUN_SERIAL ${arg_SERIAL} ${arg_PROPERTIES})
    if(NOT arg_SHARDS)
        set(arg_SHARDS 1)
    endif()
    foreach(shard RANGE 1 ${arg_SHARDS})
        math(EXPR index "${shard} - 1")
        set(name ${target}.${shard}of${arg_SHARDS})
        add_test(NAME ${name} CONFIGURATIONS programs COMMAND ${target} --gtest_output=xml:${MB_DRIVE}${CMAKE_BINARY_DIR}/results/${name}.xml)
        # Programs with many shards take longest and start first.
        set_tests_properties(${name} PROPERTIES LABELS programs TIMEOUT 1200 COST ${arg_SHARDS} RUN_SERIAL ${arg_SERIAL}
            ENVIRONMENT "GTEST_TOTAL_SHARDS=${arg_SHARDS};GTEST_SHARD_INDEX=${index}" ${arg_PROPERTIES})
    endforeach()
endfunction()
