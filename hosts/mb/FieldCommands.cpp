#include "Commands.h"
#include "console.h"
#include "Failure.h"
#include "MapName.h"
#include "Output.h"
#include "text.h"
#include "unattended.h"
#include <optional>

namespace mbhost {
namespace {

// The fields of one side by the names that the side's translator gives them.
class FieldNames {
public:
    FieldNames(ITrMap* maps, const GUID& map, _TransIds side) : side_(side == idTrans1 ? "first" : "second")
    {
        com::Ptr<ITranslator> translator;
        if (FAILED(maps->GetConfiguredTranslator(map, side, translator.put()))) return;
        list_ = translator.tryAs<IFieldList>();
        field_ = translator.tryAs<IField>();
    }
    [[nodiscard]] std::string nameOf(const GUID& field) const
    {
        com::Bstr name;
        if (field_ && SUCCEEDED(field_->GetName(field, name.put())) && !name.empty()) return printable(name.view());
        return guidName(field); // the store no longer has this field
    }
    [[nodiscard]] std::optional<GUID> find(const std::string& text) const
    {
        const std::u16string wanted = platform::utf16(text);
        for (const GUID& field : fields())
            if (platform::equalNoCase(platform::utf16(nameOf(field)), wanted)) return field;
        return std::nullopt;
    }
    [[nodiscard]] std::string lacks(const std::string& text) const { return "the " + side_ + " store has no field " + quote(text); }
    [[nodiscard]] std::vector<std::string> all() const
    {
        std::vector<std::string> names;
        for (const GUID& field : fields()) names.push_back(nameOf(field));
        return names;
    }

private:
    [[nodiscard]] std::vector<GUID> fields() const
    {
        std::vector<GUID> found;
        LONG count = 0;
        if (list_) (void)list_->GetCount(&count);
        for (LONG i = 0; i < count; ++i) {
            GUID field{};
            if (SUCCEEDED(list_->GetFieldByIndex(i, &field))) found.push_back(field);
        }
        return found;
    }

    std::string side_;
    com::Ptr<IFieldList> list_;
    com::Ptr<IField> field_;
};

struct Pair {
    GUID first, second;
};

class FieldEditor {
public:
    explicit FieldEditor(const std::string& mapName)
        : maps_(engine_.maps()), map_(resolveMap(listMaps(engine_), mapName)), fieldMaps_(engine_.fieldMaps()),
          first(maps_.get(), map_, idTrans1), second(maps_.get(), map_, idTrans2)
    {
        expectPlugins(maps_.get(), describeMap(maps_.get(), map_));
        const HRESULT hr = maps_->GetFieldMap(map_, &fieldMap_);
        if (FAILED(hr)) throw Failure("The map " + guidName(map_) + " has no list of mapped fields: " + describe(hr));
    }
    [[nodiscard]] std::vector<Pair> pairs() const
    {
        com::TaskArray<GUID> firsts, seconds;
        const HRESULT hr = fieldMaps_->EnumerateEntries(fieldMap_, firsts.putCount(), firsts.put(), seconds.put());
        if (FAILED(hr)) throw Failure("The list of mapped fields cannot be read: " + describe(hr));
        std::vector<Pair> out;
        for (std::size_t i = 0; i < firsts.items().size(); ++i) out.push_back({firsts.data()[i], seconds.data()[i]});
        return out;
    }
    // Maps a field of each side to the other and drops their former mappings. A field is mapped to one field only, because one of two
    // fields would overwrite an edit of the other.
    void add(const GUID& field1, const GUID& field2)
    {
        std::vector<Pair> wanted = pairs();
        std::erase_if(wanted, [&](const Pair& pair) { return pair.first == field1 || pair.second == field2; });
        wanted.push_back({field1, field2});
        replaceWith(wanted);
    }
    void add(const std::string& name1, const std::string& name2)
    {
        const auto field1 = first.find(name1), field2 = second.find(name2);
        if (!field1 && !field2) throwUnknown(first.lacks(name1) + ", and " + second.lacks(name2));
        if (!field1) throwUnknown(first.lacks(name1));
        if (!field2) throwUnknown(second.lacks(name2));
        add(*field1, *field2);
    }
    void remove(const std::string& name1)
    {
        const auto named = first.find(name1);
        if (!named) throwUnknown(first.lacks(name1));
        const GUID field1 = *named;
        std::vector<Pair> kept = pairs();
        if (std::erase_if(kept, [&](const Pair& pair) { return pair.first == field1; }) == 0)
            throw Failure("The field " + quote(first.nameOf(field1)) + " is not mapped; see mb fields MAP.");
        replaceWith(kept);
    }
    // Asks the user in a window, or on a platform without windows in the terminal.
    void edit()
    {
        if (!platform::showsWindows() && !platform::someoneAnswers())
            throw Failure("--edit asks questions and there is no terminal to ask on; use --map, --unmap or --reset.", exitCancelled);
        const HRESULT hr = maps_->ConfigureFieldMapping(nullptr, map_, VARIANT_TRUE);
        expect(hr);
        if (hr == S_FALSE) throw Failure("Cancelled. The list of mapped fields was not changed.", exitCancelled);
        expect(maps_->GetFieldMap(map_, &fieldMap_));
    }
    void reset()
    {
        expect(fieldMaps_->CreateDefaultMap(fieldMap_));
        tellEngine();
    }

private:
    [[noreturn]] static void throwUnknown(std::string what)
    {
        what.front() = 'T';
        throw Failure(what + "; see mb fields MAP --available.");
    }
    static void expect(HRESULT hr)
    {
        if (FAILED(hr)) throw Failure("The list of mapped fields could not be saved: " + describe(hr));
    }
    Pair translators() const
    {
        Pair ids{};
        expect(maps_->GetTranslators(map_, &ids.first, &ids.second));
        return ids;
    }
    // Entries can be added to a field map but not removed, so a new field map with these entries replaces the old one.
    void replaceWith(const std::vector<Pair>& wanted)
    {
        const auto ids = translators();
        GUID fresh{};
        expect(fieldMaps_->Create(ids.first, ids.second, &fresh));
        for (const Pair& pair : wanted) expect(fieldMaps_->AddMapEntry(fresh, pair.first, pair.second));
        expect(maps_->SetFieldMap(map_, fresh));
        (void)fieldMaps_->DeleteMap(fieldMap_);
        fieldMap_ = fresh;
        tellEngine();
    }
    void tellEngine() { expect(fieldMaps_->SetFieldMapUpdated(fieldMap_, 1)); }

    Engine engine_;
    com::Ptr<ITrMap> maps_;
    GUID map_{}, fieldMap_{};
    com::Ptr<IFieldMap> fieldMaps_;

public:
    FieldNames first, second;
};

void listFields(const std::string& mapName, bool json)
{
    const FieldEditor editor(mapName);
    Json out = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const Pair& pair : editor.pairs()) {
        rows.push_back({editor.first.nameOf(pair.first), editor.second.nameOf(pair.second)});
        out.push_back({{"first", rows.back()[0]}, {"second", rows.back()[1]}});
    }
    if (json) return printJson(out);
    if (rows.empty())
        return print("No field is mapped, so a run would do nothing. mb fields MAP --reset maps all fields of the same meaning.\n");
    print(table({"FIRST", "SECOND"}, rows));
}

void listAvailable(const std::string& mapName, bool json)
{
    const FieldEditor editor(mapName);
    if (json) return printJson(Json{{"first", editor.first.all()}, {"second", editor.second.all()}});
    print("Fields of the first store:\n");
    for (const std::string& name : editor.first.all()) print("  " + name + "\n");
    print("Fields of the second store:\n");
    for (const std::string& name : editor.second.all()) print("  " + name + "\n");
}

} // namespace

void addFieldCommands(CLI::App& app)
{
    struct Arguments {
        std::string map;
        std::vector<std::string> pair;
        std::string removed;
        bool json = false, reset = false, available = false, edit = false;
    };
    const auto given = std::make_shared<Arguments>();
    auto* fields = app.add_subcommand("fields", "List or change which field of the first store is mapped to which field of the second");
    fields->footer("--map also removes both fields from the mappings they were in. mb sync does not touch a field that is not mapped.\n"
                   "A changed list has no effect on contacts until they are edited; mb sync MAP --resync compares all contacts again.\n\n"
                   "Examples:\n  mb fields 5F49\n  mb fields 5F49 --map \"Home phone\" \"Other phone\"\n"
                   "  mb fields 5F49 --unmap Notes\n  mb fields 5F49 --reset\n  mb fields 5F49 --edit");
    fields->add_option("MAP", given->map, mapHelp)->required();
    auto* add = fields->add_option("--map", given->pair, "Map a field of the first store to a field of the second")->expected(2);
    auto* remove = fields->add_option("--unmap", given->removed, "Remove a field of the first store from the list");
    auto* reset = fields->add_flag("--reset", given->reset, "Map all fields of the same meaning, and no others");
    auto* available = fields->add_flag("--available", given->available, "List the fields that the stores have");
    auto* edit = fields->add_flag("--edit", given->edit, "Go through all fields in a window, on Linux in the terminal");
    add->excludes(remove, reset, available, edit);
    remove->excludes(reset, available, edit);
    reset->excludes(available, edit);
    available->excludes(edit);
    fields->add_flag("--json", given->json, jsonHelp);
    fields->callback([given] {
        if (given->available) return listAvailable(given->map, given->json);
        if (!given->pair.empty()) {
            FieldEditor editor(given->map);
            editor.add(given->pair[0], given->pair[1]);
        }
        if (!given->removed.empty()) {
            FieldEditor editor(given->map);
            editor.remove(given->removed);
        }
        if (given->reset) FieldEditor(given->map).reset();
        if (given->edit) FieldEditor(given->map).edit();
        listFields(given->map, given->json);
    });
}

} // namespace mbhost
