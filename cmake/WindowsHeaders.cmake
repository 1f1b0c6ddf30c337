# Uses Debian's header-only libraries, installed for Linux, for Windows too. Each library's folder is linked into a separate include folder,
# since /usr/include also holds the C library's headers.
function(take_headers target folder)
    if(NOT EXISTS /usr/include/${folder})
        message(FATAL_ERROR "/usr/include/${folder} is missing; scripts/install-deps installs it")
    endif()
    set(shim ${CMAKE_BINARY_DIR}/headers/${folder})
    file(MAKE_DIRECTORY ${shim})
    file(CREATE_LINK /usr/include/${folder} ${shim}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE ${shim})
endfunction()
take_headers(CLI11::CLI11 CLI)
take_headers(nlohmann_json::nlohmann_json nlohmann)
