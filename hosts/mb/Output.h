// The output of commands: aligned tables for people, JSON for scripts.
#pragma once
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace mbhost {

using Json = nlohmann::ordered_json;

// Makes a foreign text safe for a terminal: one line without control characters, so that no contact can control the terminal.
std::string printable(std::string_view text);
std::string printable(std::u16string_view text);
// A printable text in quotation marks.
std::string quote(std::string_view text);

// Each column is as wide as its widest cell; the last column is not padded.
std::string table(const std::vector<std::string>& head, const std::vector<std::vector<std::string>>& rows);

void print(std::string_view text);
// Prints the sentence to the error stream at once; an empty sentence prints nothing.
void tellFailure(const std::string& sentence);
void printJson(const Json& json);
// Throws a Failure if the output could not be written, for example because the disk is full.
void finishOutput();

} // namespace mbhost
