// The files of a story that is told with mb, and what it says upon a failure.
#pragma once
#include <filesystem>
#include <string>

namespace mbtest {

std::string textOf(const std::filesystem::path& file);
void putText(const std::filesystem::path& file, const std::string& text);
void replaceIn(const std::filesystem::path& file, const std::string& from, const std::string& to);
bool isOneSentence(const std::string& text);

std::size_t cardCount(const std::filesystem::path& folder);
// The card that holds the text; empty if there is none.
std::filesystem::path cardWith(const std::filesystem::path& folder, const std::string& text);

} // namespace mbtest
