#include "EndToEndFixture.h"

#include <fstream>
#include <random>

namespace mbtest {

namespace fs = std::filesystem;

fs::path binFolder() { return fs::path(MB_PROGRAM).parent_path(); }
std::string cardFilePlugin() { return binFolder() / "cardfile.so"; }
std::string vCardPlugin() { return binFolder() / "vcard.so"; }

std::string textOf(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void putText(const fs::path& file, const std::string& text)
{
    std::ofstream(file, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
}

void replaceIn(const fs::path& file, const std::string& from, const std::string& to)
{
    std::string text = textOf(file);
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << file << " has no " << from;
    putText(file, text.replace(at, from.size(), to));
}

bool isOneSentence(const std::string& text)
{
    return text.starts_with("mb: ") && text.back() == '\n' && std::count(text.begin(), text.end(), '\n') == 1;
}

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

std::size_t EndToEnd::cardCount() const
{
    return static_cast<std::size_t>(std::count_if(fs::directory_iterator(folder()), fs::directory_iterator(),
                                                  [](const fs::directory_entry& e) { return e.path().extension() == ".vcf"; }));
}

fs::path EndToEnd::cardWith(const std::string& text) const
{
    for (const fs::directory_entry& entry : fs::directory_iterator(folder()))
        if (textOf(entry.path()).find(text) != std::string::npos) return entry.path();
    return {};
}

} // namespace mbtest
