// The contacts of the old plug-in of the tests: a text file of "key<tab>value" lines, an empty line behind each record. The keys are
// id, created, modified, and a number for each field. A date is "date:" and a number, "text:" and a text, "null" for a text that is
// none, or anything else for a kind that is no date.
#pragma once
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace oldplugin {

struct Record {
    std::string id, created, modified;
    std::map<long long, std::u16string> values; // by number of the field
};

class Store {
public:
    // False if the file is there and cannot be read, or cannot be made.
    bool open(const std::filesystem::path& file);
    bool save() const;
    std::vector<Record> records;
    [[nodiscard]] Record* find(const std::string& id);
    Record& add();
    void remove(const std::string& id);
    // A date later than all there are.
    [[nodiscard]] std::string nextDate() const;

private:
    std::filesystem::path file_;
};

} // namespace oldplugin
