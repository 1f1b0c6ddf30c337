# mb_discover_tests(TARGET ...): each test of a program becomes one of ctest's. They are listed when they are about to run, which under
# Wine may be the first program of a new prefix, and make a display; so the listing has more than the usual five seconds.
include(GoogleTest)
function(mb_discover_tests target)
    gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 ${ARGN})
endfunction()
