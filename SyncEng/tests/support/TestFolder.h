// A temporary folder for a test. While this object lives, the process's data, configuration and registry lie in it. The destructor removes
// the folder.
#pragma once
#include <filesystem>
#include <memory>
#include <string>

namespace mbtest {

class ProcessFolders;

class TestFolder {
public:
    TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder();
    [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
    // The engine's DataFolder in this folder.
    [[nodiscard]] std::filesystem::path data() const { return path_ / "data" / "Zorel" / "MBSync"; }
    // Makes every later access to the product's registry keys fail.
    void refuseRegistry();
    void write(const std::string& name, std::string_view bytes) const;
    [[nodiscard]] std::string read(const std::filesystem::path& file) const;

private:
    std::filesystem::path path_;
    std::unique_ptr<ProcessFolders> process_;
};

} // namespace mbtest
