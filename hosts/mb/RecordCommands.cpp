#include "Commands.h"
#include "Failure.h"
#include "files.h"
#include "MapName.h"
#include "Output.h"
#include "text.h"
#include <charconv>

namespace mbhost {
namespace {

struct StatusName {
    const char* name;
    LONG value;
};

constexpr StatusName statusNames[] = {{"current", rsCurrent},
                                      {"outdated", rsOutdated},
                                      {"unreachable", rsUnreachable},
                                      {"not-present", rsNotPresent},
                                      {"excluded", rsExcluded}};

std::string nameOfStatus(LONG status)
{
    for (const StatusName& known : statusNames)
        if (known.value == status) return known.name;
    return std::to_string(status);
}

LONG statusNamed(const std::string& text)
{
    for (const StatusName& known : statusNames)
        if (text == known.name) return known.value;
    LONG number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc() && end == text.data() + text.size()) return number;
    std::string sentence = "There is no status " + quote(text) + "; a status is a number or one of:";
    for (const StatusName& known : statusNames) sentence += std::string(" ") + known.name;
    throw Failure(sentence + ".", exitUsage);
}

struct RecordArguments {
    std::string map, record, filter, set;
    bool second = false, json = false;
};

// The records of one side of a map's history.
class RecordView {
public:
    explicit RecordView(const RecordArguments& given)
        : map_(resolveMap(listMaps(engine_), given.map)), side_(given.second ? idTrans2 : idTrans1),
          support_(engine_.create<IFidemarkSupport>(__uuidof(TrManager)))
    {
        const HRESULT hr = ran_ ? support_->Initialize(map_) : S_OK; // Initialize() would create a history
        if (FAILED(hr)) throw Failure("The history of the map cannot be read: " + reasonFor(hr));
    }

    // The sentence for a map that never ran; empty if the map has a history.
    [[nodiscard]] std::string lacksHistory() const
    {
        if (ran_) return {};
        return "The map " + guidName(map_) + " never ran, so it has no history; mb sync runs it.";
    }
    [[nodiscard]] std::vector<std::u16string> list(const std::string& status) const
    {
        if (!ran_) return {};
        SAFEARRAY* array = nullptr;
        const HRESULT hr = status.empty() ? support_->GetHistoryRecords(side_, &array)
                                          : support_->GetHistoryRecordsWithFMStatus(side_, statusNamed(status), &array);
        auto ids = com::textArray(array);
        if (array) (void)SafeArrayDestroy(array);
        if (FAILED(hr) && hr != E_FAIL) throw Failure("The history of the map cannot be read: " + describe(hr)); // E_FAIL: no record
        return ids;
    }
    void set(const std::string& record, const std::string& status) const
    {
        const LONG wanted = statusNamed(status);
        const HRESULT hr = support_->SetRecordStatus(side_, com::Bstr(platform::utf16(record)).get(), wanted);
        if (FAILED(hr))
            throw Failure("The history of the map has no values of the record " + quote(record) + ", so its status cannot be set.");
    }
    [[nodiscard]] Json describeRecord(const std::u16string& record) const
    {
        const com::Bstr id(record);
        com::Bstr partner;
        LONG status = rsNotPresent;
        (void)support_->GetMappedRecordId(side_, id.get(), partner.put());
        (void)support_->GetRecordStatus(side_, id.get(), &status);
        return {{"record", platform::utf8(record)}, {"partner", platform::utf8(partner.view())}, {"status", nameOfStatus(status)}};
    }

private:
    Engine engine_;
    GUID map_;
    bool ran_ = platform::fileExists(dataFolder() / (guidName(map_) + ".xml"));
    _TransIds side_;
    com::Ptr<IFidemarkSupport> support_;
};

void showRecords(const Json& records)
{
    std::vector<std::vector<std::string>> rows;
    for (const Json& r : records)
        rows.push_back({printable(r["record"].get<std::string>()), r["status"], printable(r["partner"].get<std::string>())});
    if (rows.empty()) return print("The history has no such record.\n");
    print(table({"RECORD", "STATUS", "PARTNER"}, rows));
}

void recordStatus(const RecordArguments& given)
{
    if (given.record.empty() && !given.set.empty())
        throw Failure("--set needs a record: mb record-status MAP RECORD --set STATUS.", exitUsage);
    const RecordView view(given);
    const std::string lacking = view.lacksHistory();
    if (!lacking.empty() && !given.set.empty()) throw Failure(lacking);
    if (!lacking.empty() && !given.json) return print(lacking + "\n");
    if (!given.set.empty()) view.set(given.record, given.set);
    Json records = Json::array();
    if (given.record.empty())
        for (const std::u16string& id : view.list(given.filter)) records.push_back(view.describeRecord(id));
    else
        records.push_back(view.describeRecord(platform::utf16(given.record)));
    if (given.json) return printJson(given.record.empty() ? records : records[0]);
    showRecords(records);
}

struct FilterArguments {
    std::string file;
    std::vector<std::string> add, remove;
    bool clear = false, json = false;
};

std::vector<std::string> filterEntries(IFidemarkFilter* filter, const com::Bstr& file)
{
    std::vector<std::string> ids;
    com::Bstr id;
    for (ULONG i = 0; SUCCEEDED(filter->EnumerateEntries(file.get(), i, id.put())); ++i) ids.push_back(platform::utf8(id.view()));
    return ids;
}

void openFilter(IFidemarkFilter* filter)
{
    if (const HRESULT hr = filter->OpenStore(); FAILED(hr))
        throw Failure("The lists of record identifiers cannot be opened: " + reasonFor(hr));
}

void changeFilter(const FilterArguments& given)
{
    const Engine engine;
    const auto filter = engine.create<IFidemarkFilter>(__uuidof(TrManager));
    const com::Bstr file(platform::utf16(given.file));
    openFilter(filter.get());
    const auto expect = [](HRESULT hr) {
        if (FAILED(hr)) throw Failure("The list could not be changed: " + describe(hr));
    };
    if (given.clear) expect(filter->DeleteEntry(file.get(), nullptr));
    for (const std::string& id : given.add) expect(filter->AddEntry(file.get(), com::Bstr(platform::utf16(id)).get()));
    for (const std::string& id : given.remove) expect(filter->DeleteEntry(file.get(), com::Bstr(platform::utf16(id)).get()));
    const std::vector<std::string> wanted = filterEntries(filter.get(), file);
    (void)filter->CloseStore(); // reports no failure, so the list is read back from the file
    openFilter(filter.get());
    const std::vector<std::string> ids = filterEntries(filter.get(), file);
    if (ids != wanted) throw Failure("The list could not be saved; check that the disk is not full.");
    if (given.json) return printJson(Json{{"file", given.file}, {"records", ids}});
    for (const std::string& id : ids) print(printable(id) + "\n");
}

} // namespace

void addRecordCommands(CLI::App& app)
{
    const auto given = std::make_shared<RecordArguments>();
    auto* status = app.add_subcommand("record-status", "Show or set the status of the records in a map's history");
    status->footer("A status is current, outdated, unreachable, not-present, excluded or a number. A record without a status shows as\n"
                   "not-present, even if the store has the record.\n\n"
                   "Examples:\n  mb record-status 5F49\n  mb record-status 5F49 --status outdated --second\n"
                   "  mb record-status 5F49 8c1e0f27 --set excluded");
    status->add_option("MAP", given->map, mapHelp)->required();
    status->add_option("RECORD", given->record, "The record's identifier; without it all records of the store");
    status->add_flag("--second", given->second, "Show records of the second store, not of the first");
    status->add_option("--status", given->filter, "Show only records of this status");
    status->add_option("--set", given->set, "Set the status of the record");
    status->add_flag("--json", given->json, jsonHelp);
    status->callback([given] { recordStatus(*given); });

    const auto list = std::make_shared<FilterArguments>();
    auto* filter = app.add_subcommand("filter", "Show or change the list of record identifiers that is kept for a file");
    filter->footer("Examples:\n  mb filter cards.db\n  mb filter cards.db --add 8c1e0f27 --add 1d2a93b4\n  mb filter cards.db --clear");
    filter->add_option("FILE", list->file, "The file that the list belongs to; any text")->required();
    filter->add_option("--add", list->add, "Add an identifier");
    filter->add_option("--remove", list->remove, "Remove an identifier");
    filter->add_flag("--clear", list->clear, "Empty the list first");
    filter->add_flag("--json", list->json, jsonHelp);
    filter->callback([list] { changeFilter(*list); });
}

} // namespace mbhost
