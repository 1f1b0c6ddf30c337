#include "Commands.h"
#include "DeleteLimit.h"
#include "Failure.h"
#include "MapName.h"
#include "Options.h"
#include "Output.h"
#include "RunRecord.h"
#include "StoreName.h"
#include "text.h"

#include <filesystem>

namespace mbhost {
namespace {

// Opens and closes a store once, so that no map is made of a store that does not open.
void tryStore(ITrMap* maps, const GUID& map, _TransIds side, const StoreName& store)
{
    com::Bstr database, message1, message2;
    com::Variant code;
    const HRESULT hr = maps->ConfigureTranslator2(map, side, nullptr, database.put(), code.put(), message1.put(), message2.put());
    if (SUCCEEDED(hr) || hr == static_cast<HRESULT>(0x80040212)) return;
    const std::string reason = message1.empty() ? describe(hr) : printable(message1.view());
    throw Failure("The store " + quote(store.database) + " cannot be opened: " + reason);
}

// A second map of the same two stores would have a history of its own and repeat the work of the first one.
void refuseSecondMap(const Engine& engine, ITrMap* maps, const GUID (&ids)[2], const std::string (&databases)[2])
{
    for (const GUID& guid : listMaps(engine)) {
        const MapInfo map = describeMap(maps, guid);
        const auto isSide = [&](int side, int given) {
            return map.translators[side].clsid == ids[given] && isSameStore(map.databases[side], databases[given]);
        };
        if ((isSide(0, 0) && isSide(1, 1)) || (isSide(0, 1) && isSide(1, 0)))
            throw Failure("These two stores have a map already: " + guidName(guid) + ". mb sync brings them into step.");
    }
}

// Whether nothing is at the path. A link whose target is missing is something.
bool isNothing(const std::string& database)
{
    std::error_code unknown;
    return std::filesystem::symlink_status(pathOf(database), unknown).type() == std::filesystem::file_type::not_found;
}

void addMap(const std::string& first, const std::string& second)
{
    const StoreName names[2] = {parseStore(first), parseStore(second)};
    const Engine engine;
    const auto translators = listTranslators(engine);
    const GUID ids[2] = {resolveTranslator(translators, names[0].translator).clsid,
                         resolveTranslator(translators, names[1].translator).clsid};
    const std::string databases[2] = {absolutePath(names[0].database), absolutePath(names[1].database)};
    if (isSameStore(databases[0], databases[1]))
        throw Failure("Both sides are the same store " + quote(databases[0]) + "; a map needs two different stores.", exitUsage);
    const auto maps = engine.maps();
    refuseSecondMap(engine, maps.get(), ids, databases);
    const bool areNew[2] = {isNothing(databases[0]), isNothing(databases[1])};
    GUID map{};
    const HRESULT hr = maps->Create(ids[0], ids[1], &map);
    if (FAILED(hr)) throw Failure("The map could not be created: " + describe(hr));
    try {
        for (const int i : {0, 1}) {
            const _TransIds side = i == 0 ? idTrans1 : idTrans2;
            const com::Bstr database(platform::utf16(databases[i]));
            const HRESULT set = maps->SetDatabase(map, side, database.get());
            if (FAILED(set)) throw Failure("The store " + quote(names[i].database) + " cannot be used: " + describe(set));
            tryStore(maps.get(), map, side, names[i]);
        }
        com::check(maps->SetOption(map, soDeletionLimit, com::Variant(LONG{halfOfAStore})));
    } catch (...) {
        (void)engine.manager()->DeleteMap(map);
        std::error_code ignored;
        for (const int i : {0, 1}) // opening a missing card file has created it
            if (areNew[i]) std::filesystem::remove(pathOf(databases[i]), ignored);
        throw;
    }
    print(guidName(map) + "\n");
}

void listAllMaps(bool json)
{
    const Engine engine;
    const auto maps = engine.maps();
    Json out = Json::array();
    std::vector<std::vector<std::string>> rows;
    for (const GUID& guid : listMaps(engine)) {
        const MapInfo map = describeMap(maps.get(), guid);
        out.push_back({{"map", guidName(guid)},
                       {"first", {{"translator", map.translators[0].name}, {"database", map.databases[0]}}},
                       {"second", {{"translator", map.translators[1].name}, {"database", map.databases[1]}}}});
        rows.push_back({guidName(guid), storeName(map, 0), storeName(map, 1)});
    }
    if (json) return printJson(out);
    if (rows.empty()) return print(noMapYet);
    print(table({"MAP", "FIRST", "SECOND"}, rows));
}

void showMap(const std::string& name, bool json)
{
    const Engine engine;
    const auto maps = engine.maps();
    const MapInfo map = describeMap(maps.get(), resolveMap(listMaps(engine), name));
    Json settings = Json::object();
    std::vector<std::vector<std::string>> rows;
    for (const Option& option : options()) {
        const std::string value = optionValueName(option, readOption(maps.get(), map.guid, option));
        settings[option.name] = value;
        rows.push_back({option.name, value, option.meaning});
    }
    if (json)
        return printJson(Json{{"map", guidName(map.guid)},
                              {"first", {{"translator", map.translators[0].name}, {"database", map.databases[0]}}},
                              {"second", {{"translator", map.translators[1].name}, {"database", map.databases[1]}}},
                              {"options", settings}});
    print("Map     " + guidName(map.guid) + "\nFirst   " + storeName(map, 0) + "\nSecond  " + storeName(map, 1) + "\n\n");
    print(table({"OPTION", "VALUE", "MEANING"}, rows));
}

void setOption(const std::string& name, const std::string& optionName, const std::string& value)
{
    const Option& option = optionNamed(optionName);
    const LONG wanted = optionValueNamed(option, value);
    const Engine engine;
    const GUID map = resolveMap(listMaps(engine), name);
    const HRESULT hr = writeOption(engine.maps().get(), map, option, wanted);
    if (FAILED(hr)) throw Failure("The option could not be saved: " + describe(hr));
    print(std::string(option.name) + " is " + optionValueName(option, wanted) + "\n");
}

// The side that "first" or "second" names: 0 or 1; -1 for any other option.
int sideNamed(const std::string& option)
{
    if (option == "first") return 0;
    return option == "second" ? 1 : -1;
}

// Some plug-ins would create a missing store, and the map's contacts would be missing from it.
void expectStore(const MapInfo& map, int side, const std::string& database)
{
    if (isNothing(database)) throw Failure("The store " + quote(database) + " does not exist; nothing was changed.");
    const auto isSame = [&](const std::string& other) { return platform::equalNoCase(platform::utf16(other), platform::utf16(database)); };
    if (isSame(map.databases[1 - side]))
        throw Failure("The store " + quote(database) + " is already the other store of this map; a map needs two different stores.",
                      exitUsage);
}

void moveStore(const std::string& name, int side, const std::string& given, bool force)
{
    const Engine engine;
    const auto maps = engine.maps();
    const MapInfo map = describeMap(maps.get(), resolveMap(listMaps(engine), name));
    const std::string database = absolutePath(given);
    expectStore(map, side, database);
    LONG known = 0, missing = 0;
    com::Bstr message;
    const HRESULT hr =
        maps.as<IStoreMove>()->MoveStore(map.guid, side == 0 ? idTrans1 : idTrans2, com::Bstr(platform::utf16(database)).get(),
                                         force ? VARIANT_TRUE : VARIANT_FALSE, &known, &missing, message.put());
    if (FAILED(hr))
        throw Failure("The store " + quote(database) +
                      " cannot be used, and nothing was changed: " + (message.empty() ? describe(hr) : printable(message.view())));
    const std::string lacks = std::to_string(missing) + " of the " + std::to_string(known) + " contacts that the map knows";
    if (hr == S_FALSE)
        throw Failure("The store " + quote(database) + " lacks " + lacks +
                      ", so it may be the wrong store; nothing was changed. If it is the right one, repeat the command with --force: " +
                      "the next mb sync then deletes those contacts from the other store.");
    print("The " + std::string(side == 0 ? "first" : "second") + " store is now " + quote(database) +
          (missing > 0 ? ", which lacks " + lacks : ", which has all of the " + std::to_string(known) + " contacts that the map knows") +
          ".\n");
}

void removeMap(const std::string& name)
{
    const Engine engine;
    const GUID map = resolveMap(listRemovableMaps(engine), name);
    const HRESULT hr = engine.manager()->DeleteMap(map);
    if (FAILED(hr)) throw Failure("The history of the map " + guidName(map) + " could not be removed: " + reasonFor(hr));
    removeRunRecord(map);
    print("removed " + guidName(map) + "; both stores are untouched\n");
}

std::string optionHelp()
{
    std::string text = "Options and their values, the default first:\n";
    for (const Option& option : options()) {
        text += "  " + std::string(option.name) + ": " + optionValueName(option, option.byDefault);
        for (const OptionValue& value : option.values)
            if (value.isOffered && value.value != option.byDefault) text += std::string(" ") + value.name;
        if (option.isPercentage) text += " or 1% to 100%";
        text += "\n      " + std::string(option.meaning) + "\n";
    }
    text += "  first, second: DATABASE\n      the new place of a moved store; if it lacks contacts that the map knows, --force is needed\n";
    return text +
           "\nmb sync --silent asks nothing: where the value is \"ask\", it keeps both contacts of a conflict, or the contact that was\n"
           "not deleted.\n\n"
           "Examples:\n  mb set 5F49 conflicts first-wins\n  mb set 5F49 direction to-second\n  mb set 5F49 max-delete 80%\n"
           "  mb set 5F49 second /media/phone/Contacts";
}

} // namespace

void addMapCommands(CLI::App& app)
{
    struct Arguments {
        std::string first, second, map, option, value;
        bool json = false, force = false;
    };
    const auto given = std::make_shared<Arguments>();
    auto* add = app.add_subcommand("add", "Create a map of two stores and print its identifier");
    add->footer("mb translators lists the names; case is ignored. Both stores are opened once to check that they work; a\n"
                "missing card file is created. The same two stores can have only one map.\n\n"
                "Example:\n  mb add Mirabook=$HOME/cards.db vCard=$HOME/Contacts");
    add->add_option("NAME1=DATABASE1", given->first, "The first store")->required();
    add->add_option("NAME2=DATABASE2", given->second, "The second store")->required();
    add->callback([given] { addMap(given->first, given->second); });

    auto* list = app.add_subcommand("maps", "List the maps");
    list->footer("Examples:\n  mb maps\n  mb maps --json");
    list->add_flag("--json", given->json, jsonHelp);
    list->callback([given] { listAllMaps(given->json); });

    auto* show = app.add_subcommand("show", "Show a map with its options");
    show->footer("Examples:\n  mb show 5F49\n  mb show 5F49 --json");
    show->add_option("MAP", given->map, mapHelp)->required();
    show->add_flag("--json", given->json, jsonHelp);
    show->callback([given] { showMap(given->map, given->json); });

    auto* set = app.add_subcommand("set", "Set an option of a map, or the new place of one of its stores");
    set->footer(optionHelp());
    set->add_option("MAP", given->map, mapHelp)->required();
    set->add_option("OPTION", given->option, "One of the names below")->required();
    set->add_option("VALUE", given->value, "One of the option's values, or the store's new place")->required();
    set->add_flag("--force", given->force, "Accept the store even if it lacks contacts that the map knows");
    set->callback([given] {
        if (const int side = sideNamed(given->option); side >= 0) return moveStore(given->map, side, given->value, given->force);
        if (given->force) throw Failure("--force can be used only with the options first and second.", exitUsage);
        setOption(given->map, given->option, given->value);
    });

    auto* remove = app.add_subcommand("remove", "Remove a map with its options and history; the stores stay as they are");
    remove->footer("Example:\n  mb remove 5F49");
    remove->add_option("MAP", given->map, mapHelp)->required();
    remove->callback([given] { removeMap(given->map); });
}

} // namespace mbhost
