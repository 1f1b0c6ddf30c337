#include "StoryFiles.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace mbtest {

namespace fs = std::filesystem;

std::string textOf(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void putText(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }

void replaceIn(const fs::path& file, const std::string& from, const std::string& to)
{
    std::string text = textOf(file);
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << file << " has no " << from;
    putText(file, text.replace(at, from.size(), to));
}

bool isOneSentence(const std::string& text)
{
    return text.starts_with("mb: ") && text.ends_with('\n') && std::count(text.begin(), text.end(), '\n') == 1;
}

std::size_t cardCount(const fs::path& folder)
{
    return static_cast<std::size_t>(std::count_if(fs::directory_iterator(folder), fs::directory_iterator(),
                                                  [](const fs::directory_entry& e) { return e.path().extension() == ".vcf"; }));
}

fs::path cardWith(const fs::path& folder, const std::string& text)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        if (textOf(entry.path()).find(text) != std::string::npos) return entry.path();
    return {};
}

} // namespace mbtest
