#include "NotebookStore.h"

#include "com.h"
#include "files.h"
#include "text.h"
#include <algorithm>
#include <charconv>
#include <chrono>

namespace notebook {
namespace {

using mb::plugin::StoreError;

constexpr std::string_view firstLine = "Notebook 1"; // tells a notebook from any other file
constexpr std::string_view specials = "\\\t\n\r", letters = "\\tnr";

std::string escaped(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        const std::size_t at = specials.find(c);
        if (at != specials.npos) out += '\\';
        out += at != specials.npos ? letters[at] : c;
    }
    return out;
}

std::string unescaped(std::string_view text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '\\';
        const std::size_t at = escape && ++i < text.size() ? letters.find(text[i]) : letters.npos;
        if (escape && at == letters.npos) throw StoreError(Step::Open, "an unknown escape");
        out += escape ? specials[at] : text[i];
    }
    return out;
}

// Cuts off what stands in front of the separator.
std::string_view next(std::string_view& rest, char separator)
{
    const std::string_view part = rest.substr(0, rest.find(separator));
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    return part;
}

std::int64_t numberIn(std::string_view text)
{
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) throw StoreError(Step::Open, "no number");
    return number;
}

std::int64_t now() { return std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count(); }

} // namespace

NotebookStore::NotebookStore(std::filesystem::path file) : file_(std::move(file))
{
    if (file_.empty()) throw StoreError(Step::Open, "No notebook is chosen; name the file of one.");
    readFile();
}

void NotebookStore::make(const std::filesystem::path& file)
{
    std::error_code error;
    if (file.empty() || std::filesystem::exists(file, error) || error) return; // the constructor tells what is wrong
    platform::AtomicFile made(file);
    made.write(std::string(firstLine) + "\n");
    if (const std::error_code failure = made.commit())
        throw StoreError(Step::Open, "The notebook " + file.string() + " cannot be created: " + failure.message() + ".");
}

const NotebookStore::Record& NotebookStore::find(const std::string& id, Step step) const
{
    const auto found = records_.find(id);
    if (found == records_.end()) throw StoreError(step, "The notebook has no record \"" + id + "\"; it was removed meanwhile.");
    return found->second;
}

const std::string& NotebookStore::idAt(std::size_t index) const
{
    if (order_.empty())
        for (const auto& [id, record] : records_) order_.push_back(&id);
    return *order_.at(index);
}

void NotebookStore::beginRead(const std::string& id)
{
    (void)find(id, Step::BeginRead);
    reading_ = id;
}

std::u16string NotebookStore::read(const std::string& id, int type) const
{
    if (id.empty() || (id != reading_ && id != writing_)) throw StoreError(Step::ReadField, "The record is not being read.");
    const Record& record = id == reading_ ? find(id, Step::ReadField) : draft_;
    const auto value = record.values.find(type);
    return value == record.values.end() ? std::u16string() : platform::utf16(value->second);
}

std::string NotebookStore::beginAdd()
{
    writing_ = platform::utf8(com::guidText(com::newGuid())); // never given to another record, not even to one of another notebook
    draft_ = {now(), 0, {}};
    return writing_;
}

void NotebookStore::beginEdit(const std::string& id)
{
    draft_ = find(id, Step::Edit);
    writing_ = id;
}

void NotebookStore::write(const std::string& id, int type, std::u16string_view text)
{
    if (id.empty() || id != writing_) throw StoreError(Step::WriteField, "The record is not being written.");
    if (text.empty())
        draft_.values.erase(type);
    else
        draft_.values[type] = platform::utf8(text);
}

std::string NotebookStore::save(const std::string& id)
{
    if (id.empty() || id != writing_) throw StoreError(Step::Save, "The record is not being written.");
    constexpr std::int64_t leastStep = 1'000'000; // the engine sees a change by its date, however fast the clock is read
    draft_.modified = std::max(now(), draft_.modified + leastStep);
    records_[id] = std::move(draft_);
    order_.clear();
    changed_ = true;
    return std::exchange(writing_, {});
}

void NotebookStore::remove(const std::string& id)
{
    (void)find(id, Step::Delete);
    records_.erase(id);
    order_.clear();
    changed_ = true;
}

void NotebookStore::endBatch(bool abort)
{
    writing_.clear();
    if (abort)
        readFile();
    else
        writeFile();
}

void NotebookStore::readFile()
{
    records_.clear();
    order_.clear();
    changed_ = false;
    std::error_code error;
    const std::string bytes = platform::readFile(file_, error);
    if (error) throw StoreError(Step::Open, "The notebook " + file_.string() + " cannot be read: " + error.message() + ".");
    std::string_view rest = bytes;
    if (!rest.empty() && next(rest, '\n') != firstLine)
        throw StoreError(Step::Open, "The file " + file_.string() + " is no notebook; choose another.");
    for (int line = 2; !rest.empty(); ++line) {
        try {
            readLine(next(rest, '\n'));
        } catch (const StoreError& e) { // what cannot be read would be lost at the next write
            throw StoreError(Step::Open,
                             "Line " + std::to_string(line) + " of the notebook " + file_.string() + " is damaged: " + e.what() + ".");
        }
    }
}

// Identifier, creation, change, and the fields as TYPE:VALUE, with a tab between them.
void NotebookStore::readLine(std::string_view line)
{
    const std::string id = unescaped(next(line, '\t'));
    Record record;
    record.created = numberIn(next(line, '\t'));
    record.modified = numberIn(next(line, '\t'));
    while (!line.empty()) {
        std::string_view field = next(line, '\t');
        const auto type = static_cast<int>(numberIn(next(field, ':')));
        record.values[type] = unescaped(field);
    }
    if (id.empty() || !records_.emplace(id, std::move(record)).second) throw StoreError(Step::Open, "an identifier that is not unique");
}

void NotebookStore::writeFile()
{
    if (!changed_) return;
    platform::AtomicFile file(file_); // a failure leaves the old notebook as it is
    file.write(std::string(firstLine) + "\n");
    for (const auto& [id, record] : records_) {
        std::string line = escaped(id) + "\t" + std::to_string(record.created) + "\t" + std::to_string(record.modified);
        for (const auto& [type, value] : record.values) line += "\t" + std::to_string(type) + ":" + escaped(value);
        file.write(line + "\n");
    }
    if (const std::error_code error = file.commit())
        throw StoreError(Step::Update, "The notebook " + file_.string() + " cannot be written: " + error.message() + ".");
    changed_ = false;
}

} // namespace notebook
