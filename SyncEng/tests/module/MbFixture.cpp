#include "MbFixture.h"

#include <algorithm>

namespace mbtest {

namespace fs = std::filesystem;

void putCard(const fs::path& folder, const std::string& firstName, const std::string& lastName)
{
    const std::string name = firstName + " " + lastName;
    putText(folder / std::u8string(name.begin(), name.end()).append(u8".vcf"),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + lastName + ";" + firstName + ";;;\r\nFN:" + name + "\r\nEMAIL:" + firstName +
                "@example.org\r\nEND:VCARD\r\n");
}

MbTest::MbTest()
{
    fs::create_directories(one);
    fs::create_directories(two);
}

Ended MbTest::mb(const std::vector<std::wstring>& arguments, const WhileRuns& whileRuns)
{
    return runProgram(MB_PROGRAM, arguments, whileRuns);
}

Json MbTest::json(std::vector<std::wstring> arguments)
{
    arguments.emplace_back(L"--json");
    const Ended ended = mb(arguments);
    EXPECT_EQ(ended.code, 0u) << ended.output;
    return Json::parse(ended.output);
}

std::wstring MbTest::addMap(const std::wstring& first, const std::wstring& second)
{
    const Ended added = mb({L"add", first, second});
    EXPECT_EQ(added.code, 0u) << added.output;
    return {added.output.begin(), std::find(added.output.begin(), added.output.end(), '\n')};
}

std::wstring MbTest::makeMap(int contacts) const
{
    for (int i = 0; i < contacts; ++i) putCard(one, "Ada" + std::to_string(i), "Lovelace");
    return addMap();
}

std::map<fs::path, std::string> MbTest::everything(const std::wstring& map) const
{
    const fs::path history = installation.data() / (map + L".xml");
    std::map<fs::path, std::string> bytes{{history, textOf(history)}};
    for (const fs::path& folder : {one, two})
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) bytes[entry.path()] = textOf(entry.path());
    return bytes;
}

} // namespace mbtest
