#include "TestFolder.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>

namespace mbtest {
namespace fs = std::filesystem;

TestFolder::TestFolder()
{
    std::random_device random;
    path_ = fs::temp_directory_path() / ("mbtest" + std::to_string(random()) + std::to_string(random()));
    fs::create_directories(path_ / "data");
    ::setenv("XDG_DATA_HOME", (path_ / "data").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (path_ / "config").c_str(), 1);
    ::setenv("XDG_CACHE_HOME", (path_ / "cache").c_str(), 1);
    ::setenv("MB_REGISTRY", (path_ / "registry.reg").c_str(), 1);
}

TestFolder::~TestFolder()
{
    std::error_code error;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_, error))
        if (entry.is_directory(error)) fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, error);
    fs::remove_all(path_, error);
}

void TestFolder::write(const std::string& name, std::string_view bytes) const
{
    fs::create_directories((path_ / name).parent_path());
    std::ofstream(path_ / name, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string TestFolder::read(const fs::path& file) const
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace mbtest
