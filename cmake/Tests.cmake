# mb_test_program(TARGET [SHARDS n] [SERIAL] [PROPERTIES ...]): makes a program of the tests, and names its tests to ctest in two ways.
# - Each case is a test of its own, for `ctest --preset linux -R NAME`. The cases are listed when they are about to run, which under Wine
#   may be the first program of a new prefix, and make a display; so the listing has more than the usual five seconds.
# - In the configuration "programs" the whole program is a test, in n shards that run side by side: `ctest --preset linux -C programs -L
#   programs`. scripts/test takes this way, since a process for each case costs more than most cases do. Each shard leaves its results in
#   results/, written as its last act: a shard without that file did not get to its end.
include(GoogleTest)
function(mb_test_program target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "SERIAL" "SHARDS" "PROPERTIES")
    # The optimiser costs more on the tests' code than it gains: their time goes into the libraries, which keep their options.
    target_compile_options(${target} PRIVATE -O0)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # A unity build's own warning: a fixture in an anonymous namespace of an included file.
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
        # The programs in many shards are the long ones, and begin first.
        set_tests_properties(${name} PROPERTIES LABELS programs TIMEOUT 1200 COST ${arg_SHARDS} RUN_SERIAL ${arg_SERIAL}
            ENVIRONMENT "GTEST_TOTAL_SHARDS=${arg_SHARDS};GTEST_SHARD_INDEX=${index}" ${arg_PROPERTIES})
    endforeach()
endfunction()
