#include "OldStore.h"

#include "text.h"
#include <algorithm>
#include <fstream>
#include <utility>

namespace oldplugin {
namespace {

std::string escaped(std::string_view text)
{
    std::string out;
    for (const char c : text) out += c == '\n' ? "\\n" : c == '\\' ? "\\\\" : std::string(1, c);
    return out;
}

std::string unescaped(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = text[i] == '\\' && i + 1 < text.size();
        out += !pair ? text[i] : text[++i] == 'n' ? '\n' : text[i];
    }
    return out;
}

void take(Record& record, const std::string& key, const std::string& value)
{
    if (key == "id")
        record.id = value;
    else if (key == "created")
        record.created = value;
    else if (key == "modified")
        record.modified = value;
    else
        record.values[std::atoll(key.c_str())] = platform::utf16(value);
}

} // namespace

bool Store::open(const std::filesystem::path& file)
{
    file_ = file;
    records.clear();
    if (!std::filesystem::exists(file)) return save();
    std::ifstream in(file, std::ios::binary);
    Record record;
    for (std::string line; std::getline(in, line);) {
        const std::size_t tab = line.find('\t');
        if (tab != std::string::npos)
            take(record, line.substr(0, tab), unescaped(line.substr(tab + 1)));
        else if (!record.id.empty())
            records.push_back(std::exchange(record, {}));
    }
    return in.eof();
}

bool Store::save() const
{
    std::ofstream out(file_, std::ios::binary);
    for (const Record& record : records) {
        out << "id\t" << record.id << "\ncreated\t" << record.created << "\nmodified\t" << record.modified << '\n';
        for (const auto& [field, value] : record.values) out << field << '\t' << escaped(platform::utf8(value)) << '\n';
        out << '\n';
    }
    out.close();
    return !out.fail();
}

Record* Store::find(const std::string& id)
{
    const auto at = std::ranges::find(records, id, &Record::id);
    return at == records.end() ? nullptr : &*at;
}

Record& Store::add()
{
    int number = 1;
    while (find("old-" + std::to_string(number))) ++number;
    const std::string date = nextDate();
    return records.emplace_back(Record{"old-" + std::to_string(number), date, date, {}});
}

void Store::remove(const std::string& id)
{
    std::erase_if(records, [&](const Record& record) { return record.id == id; });
}

std::string Store::nextDate() const
{
    double latest = 46000.0;
    for (const Record& record : records)
        if (record.modified.starts_with("date:")) latest = std::max(latest, std::stod(record.modified.substr(5)));
    return "date:" + std::to_string(latest + 1.0);
}

} // namespace oldplugin
