// A folder of a test's own: the process's data, configuration and registry lie in it for as long as it lives, and it is removed at its end.
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
    // DataFolder of the engine in here.
    [[nodiscard]] std::filesystem::path data() const { return path_ / "data" / "Zorel" / "MBSync"; }
    // From here on none of the product's own keys can be read or written.
    void refuseRegistry();
    void write(const std::string& name, std::string_view bytes) const;
    [[nodiscard]] std::string read(const std::filesystem::path& file) const;

private:
    std::filesystem::path path_;
    std::unique_ptr<ProcessFolders> process_;
};

} // namespace mbtest
