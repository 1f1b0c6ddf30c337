// Writes a language module, on Linux a text file. Each line is a number, a tab and a text.
#pragma once
#include "text.h"

#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <utility>

namespace mbtest {

using NumberedText = std::pair<int, std::u16string>;

inline void writeLanguageModule(const std::filesystem::path& file, std::span<const NumberedText> texts)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    for (const auto& [id, text] : texts) {
        out << id << '\t';
        for (const char c : platform::utf8(text)) {
            if (c == '\n')
                out << "\\n";
            else if (c == '\t')
                out << "\\t";
            else if (c == '\\')
                out << "\\\\";
            else
                out << c;
        }
        out << "\r\n";
    }
}

} // namespace mbtest
