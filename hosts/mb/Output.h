// What a command prints: aligned tables for people, JSON for scripts.
#pragma once
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace mbhost {

using Json = nlohmann::ordered_json;

// A text of someone else's as it may go to a terminal: one line and no control character, so no contact can steer it.
std::string printable(std::string_view text);
std::string printable(std::u16string_view text);
// The same in quotation marks, for the middle of a sentence.
std::string quote(std::string_view text);

// Columns as wide as their widest cell; the last one is not padded.
std::string table(const std::vector<std::string>& head, const std::vector<std::vector<std::string>>& rows);

void print(std::string_view text);
// A sentence about what went wrong, at once; nothing for an empty one.
void tellFailure(const std::string& sentence);
void printJson(const Json& json);
// Throws a Failure if what was printed did not reach its end, as on a full disk.
void finishOutput();

} // namespace mbhost
