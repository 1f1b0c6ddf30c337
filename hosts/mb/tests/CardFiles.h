// The cards of a vCard folder, or of one file.
#pragma once
#include "CardLines.h"

#include <filesystem>

namespace mbtest {

class CardFiles {
public:
    // A path that ends in ".vcf" is one file of all cards.
    explicit CardFiles(std::filesystem::path path) : path_(std::move(path)) {}
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] bool isOneFile() const { return path_.extension() == ".vcf"; }

    // Reads the cards by their FN. Two cards of one name fail the test.
    void read();
    [[nodiscard]] std::size_t size() const { return cards_.size(); }
    [[nodiscard]] CardLines* find(const std::string& name); // null if there is none
    void add(const std::string& name, CardLines card);
    // Writes the file of the card. Does nothing if all cards are in one file.
    void write(const std::string& name, std::filesystem::file_time_type time) const;
    // Writes the file of all cards, if there is one.
    void writeAll(std::filesystem::file_time_type time) const;

    struct File {
        std::string bytes;
        std::filesystem::file_time_type time;
        bool operator==(const File&) const = default;
    };
    [[nodiscard]] std::map<std::filesystem::path, File> files() const;

private:
    struct Card {
        std::filesystem::path file;
        CardLines lines;
    };
    std::filesystem::path path_;
    std::map<std::string, Card> cards_;
};

} // namespace mbtest
