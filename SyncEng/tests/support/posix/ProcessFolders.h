// Redirects the process's data, configuration, cache and registry to a folder. The destructor does not undo this.
#pragma once
#include <cstdlib>
#include <filesystem>

namespace mbtest {

class ProcessFolders {
public:
    explicit ProcessFolders(const std::filesystem::path& folder)
    {
        ::setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
        ::setenv("XDG_CACHE_HOME", (folder / "cache").c_str(), 1);
        ::setenv("MB_REGISTRY", (folder / "registry.reg").c_str(), 1);
    }
    void refuseRegistry() { ::setenv("MB_REGISTRY", "/proc/none/registry.reg", 1); }
};

} // namespace mbtest
