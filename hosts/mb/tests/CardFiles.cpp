#include "CardFiles.h"

#include "StoryFiles.h"

#include <gtest/gtest.h>
#include <utility>

namespace mbtest {

namespace fs = std::filesystem;

void CardFiles::read()
{
    cards_.clear();
    for (const auto& [path, file] : files()) {
        if (path.extension() != ".vcf") continue;
        std::vector<std::string> lines;
        for (std::string& line : foldedLines(file.bytes)) {
            const bool end = line.starts_with("END:VCARD");
            lines.push_back(std::move(line));
            if (!end) continue;
            const CardLines card(std::exchange(lines, {}));
            const auto [at, first] = cards_.emplace(card.only("FN"), Card{path, card});
            EXPECT_TRUE(first) << "two cards of one name\n" << card.bytes() << at->second.lines.bytes();
        }
    }
}

CardLines* CardFiles::find(const std::string& name)
{
    const auto at = cards_.find(name);
    return at == cards_.end() ? nullptr : &at->second.lines;
}

void CardFiles::add(const std::string& name, CardLines card)
{
    cards_.emplace(name, Card{isOneFile() ? path_ : path_ / (name + ".vcf"), std::move(card)});
}

void CardFiles::write(const std::string& name, fs::file_time_type time) const
{
    if (isOneFile()) return;
    const Card& card = cards_.at(name);
    putText(card.file, card.lines.bytes());
    fs::last_write_time(card.file, time);
}

void CardFiles::writeAll(fs::file_time_type time) const
{
    if (!isOneFile()) return;
    std::string bytes;
    for (const auto& [name, card] : cards_) bytes += card.lines.bytes();
    putText(path_, bytes);
    fs::last_write_time(path_, time);
}

std::map<fs::path, CardFiles::File> CardFiles::files() const
{
    if (isOneFile()) return {{path_, {textOf(path_), fs::last_write_time(path_)}}};
    std::map<fs::path, File> all;
    for (const auto& entry : fs::directory_iterator(path_)) all[entry.path()] = {textOf(entry.path()), entry.last_write_time()};
    return all;
}

} // namespace mbtest
