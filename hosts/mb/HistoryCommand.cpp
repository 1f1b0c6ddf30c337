#include "Commands.h"
#include "Failure.h"
#include "files.h"
#include "MapName.h"
#include "Output.h"
#include "registry.h"
#include "StoreName.h"
#include "text.h"

namespace mbhost {
namespace {

constexpr char16_t settings[] = u"Software\\Zorel\\MBSyncEng";

bool decodingIsAllowed()
{
    const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, settings);
    return key && key->number(u"EnableDecrypt").value_or(0) != 0;
}

std::string howToAllow()
{
    const std::filesystem::path file = platform::registryFile();
    const std::string how =
        file.empty() ? R"(set the DWORD value EnableDecrypt to 1 under HKEY_CURRENT_USER\Software\Zorel\MBSyncEng)"
                     : R"(write the line "EnableDecrypt"=dword:00000001 under [HKEY_CURRENT_USER\Software\Zorel\MBSyncEng] in )" +
                           quote(textOf(file));
    return "A history holds contacts, so it is decoded only if you allow it: " + how + ".";
}

void writeDecoded(const Engine& engine, const std::filesystem::path& history, const std::filesystem::path& target)
{
    if (!decodingIsAllowed()) throw Failure(howToAllow());
    const com::Bstr from(platform::textOf(history)), to(platform::textOf(target));
    const HRESULT hr = engine.create<ISyncAutoTest>(__uuidof(SyncAutoTest))->DecryptHistoryFile(from.get(), to.get());
    if (FAILED(hr)) throw Failure("The history could not be written to " + quote(textOf(target)) + ": " + reasonFor(hr));
}

void history(const std::string& name, const std::string& decoded, bool json)
{
    const Engine engine;
    const GUID map = resolveMap(listMaps(engine), name);
    const std::filesystem::path file = dataFolder() / (guidName(map) + ".xml"),
                                target = decoded.empty() ? "" : pathOf(absolutePath(decoded));
    const bool ran = platform::fileExists(file);
    if (!target.empty()) {
        if (!ran) throw Failure("The map " + guidName(map) + " never ran, so it has no history; mb sync runs it.");
        writeDecoded(engine, file, target);
    }
    if (json) {
        Json out{{"map", guidName(map)}, {"file", textOf(file)}, {"exists", ran}};
        if (!target.empty()) out["decoded"] = textOf(target);
        return printJson(out);
    }
    if (!target.empty()) return print("decoded to " + printable(textOf(target)) + "\n");
    print(printable(textOf(file)) + (ran ? "\n" : " (not there yet: the map never ran)\n"));
}

} // namespace

void addHistoryCommand(CLI::App& app)
{
    struct Arguments {
        std::string map, decoded;
        bool json = false;
    };
    const auto given = std::make_shared<Arguments>();
    auto* command = app.add_subcommand("history", "Show where the file of a map's history is, or write a readable copy of it");
    command->footer("The history is what the engine remembers of the last run. A readable copy holds the contacts of both stores, so mb\n"
                    "writes it only if you allow that; otherwise the command says how to allow it.\n\n"
                    "Examples:\n  mb history 5F49\n  mb history 5F49 --decoded history.xml");
    command->add_option("MAP", given->map, mapHelp)->required();
    command->add_option("--decoded", given->decoded, "Write a readable copy to this file; an existing file is replaced");
    command->add_flag("--json", given->json, jsonHelp);
    command->callback([given] { history(given->map, given->decoded, given->json); });
}

} // namespace mbhost
