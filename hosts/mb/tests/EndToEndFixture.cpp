#include "EndToEndFixture.h"

#include <random>

namespace mbtest {

namespace fs = std::filesystem;

fs::path binFolder() { return fs::path(MB_PROGRAM).parent_path(); }
std::string cardFilePlugin() { return binFolder() / "cardfile.so"; }
std::string vCardPlugin() { return binFolder() / "vcard.so"; }

EndToEnd::EndToEnd()
{
    std::random_device random;
    home_ = fs::temp_directory_path() / ("mb end to end " + std::to_string(random()) + std::to_string(random()));
    for (const char* folder : {"data", "cache", "Contacts"}) fs::create_directories(home_ / folder);
    run_.environment = {{"HOME", home_},
                        {"XDG_DATA_HOME", home_ / "data"},
                        {"XDG_CONFIG_HOME", home_ / "config"},
                        {"XDG_CACHE_HOME", home_ / "cache"},
                        {"MB_REGISTRY", home_ / "registry.reg"}};
    run_.workFolder = home_;
}

EndToEnd::~EndToEnd()
{
    std::error_code error;
    fs::remove_all(home_, error);
}

Result EndToEnd::mb(const std::vector<std::string>& arguments) { return runProgram(MB_PROGRAM, arguments, run_); }
Result EndToEnd::samples(const std::vector<std::string>& arguments) { return runProgram(binFolder() / "mbsamples", arguments, run_); }
Json EndToEnd::json(std::vector<std::string> arguments)
{
    arguments.emplace_back("--json");
    const Result result = mb(arguments);
    EXPECT_EQ(result.code, 0) << result.error;
    return Json::parse(result.out);
}

void EndToEnd::registerPlugins()
{
    const Result result = mb({"register", cardFilePlugin(), vCardPlugin()});
    ASSERT_EQ(result.code, 0) << result.error;
}

std::string EndToEnd::addMap(const std::string& first, const std::string& second)
{
    const Result result = mb({"add", first, second});
    EXPECT_EQ(result.code, 0) << result.error;
    return result.out.substr(0, result.out.find('\n'));
}

std::string EndToEnd::makeMap(int contacts)
{
    registerPlugins();
    EXPECT_EQ(samples({"fill", cards(), "--count", std::to_string(contacts)}).code, 0);
    return addMap("Mirabook=" + cards(), "vCard=" + folder().string());
}

} // namespace mbtest
