// The store of the tests' old plug-in: a text file of "key<tab>value" lines, with an empty line after each record. The keys are id,
// created, modified, and the number of each field. A date is "date:" and a number, "text:" and a text, or "null" for a null text; anything
// else is reported as a VARIANT that is not a date.
#pragma once
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace oldplugin {

struct Record {
    std::string id, created, modified;
    std::map<long long, std::u16string> values; // by field number
};

class Store {
public:
    // Returns false if the file exists but cannot be read, or if it cannot be created.
    bool open(const std::filesystem::path& file);
    bool save() const;
    std::vector<Record> records;
    [[nodiscard]] Record* find(const std::string& id);
    Record& add();
    void remove(const std::string& id);
    // Returns a date later than all dates in the store.
    [[nodiscard]] std::string nextDate() const;

private:
    std::filesystem::path file_;
};

} // namespace oldplugin
