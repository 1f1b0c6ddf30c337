#include "TestFolder.h"

#include "ProcessFolders.h"
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
    process_ = std::make_unique<ProcessFolders>(path_);
}

TestFolder::~TestFolder()
{
    process_.reset();
    std::error_code error;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path_, error))
        if (entry.is_directory(error)) fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, error);
    fs::remove_all(path_, error);
}

void TestFolder::refuseRegistry() { process_->refuseRegistry(); }

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
