# GoogleTest for Windows, built from Debian's sources under the target names of find_package on Linux. Its main function is ours and enters
# an apartment, as every host does.
set(MB_DRIVE "Z:") # Wine's drive for the file system of the build
set(gtest_disable_pthreads OFF)
set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(library gtest gmock gmock_main gtest_main)
    target_compile_options(${library} PRIVATE -w)
    set_target_properties(${library} PROPERTIES CXX_CLANG_TIDY "" EXPORT_COMPILE_COMMANDS OFF)
    get_target_property(headers ${library} INTERFACE_INCLUDE_DIRECTORIES)
    set_target_properties(${library} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${headers}")
endforeach()
set_target_properties(gtest_main PROPERTIES SOURCES ${CMAKE_CURRENT_LIST_DIR}/../SyncEng/tests/support/win32/TestMain.cpp)
