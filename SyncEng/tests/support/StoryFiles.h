// Files for tests that run mb, and a check of its error messages.
#pragma once
#include <filesystem>
#include <string>

namespace mbtest {

std::string textOf(const std::filesystem::path& file);
void putText(const std::filesystem::path& file, const std::string& text);
void replaceIn(const std::filesystem::path& file, const std::string& from, const std::string& to);
bool isOneSentence(const std::string& text);

std::size_t cardCount(const std::filesystem::path& folder);
// Returns a card that contains the text; empty if there is none.
std::filesystem::path cardWith(const std::filesystem::path& folder, const std::string& text);

} // namespace mbtest
