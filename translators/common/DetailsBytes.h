// Values of details that are embedded files: pictures, sounds and keys. A store gives them by length and hash:
//
//   PHOTO:x-mb-data:image/png,LENGTH,HASH      instead of      PHOTO:data:image/png;base64,...
//
// LENGTH is that of the file in octets, HASH the BLAKE2b of the base64 text. Written back, such a line means the value that the record
// holds already. The whole values are read with readWholeDetails(). Lines are in UTF-8.
#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace mb::plugin {

// Returns the line with its value by length and hash if it is a data: URI in base64; any other line as it is.
std::string hashedLine(std::string line);
// The same for each line of a text.
std::string hashedDetails(std::string text);

// Returns the value of a line that gives it by length and hash, such as "x-mb-data:image/png,3,..."; empty for any other line.
std::string_view hashedValue(std::string_view line);

// Returns the line with a whole value in place of its hashed one. `whole` has that value. Requires: hashedValue(line) is not empty.
std::string lineWithValueOf(std::string_view line, std::string_view whole);

// Returns the text with the whole values of `held` in place of hashed ones. A line with a hash that `held` does not have is left out.
std::string wholeDetails(std::string_view text, std::string_view held);

} // namespace mb::plugin
