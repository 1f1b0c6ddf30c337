#include "Commands.h"
#include "Engine.h"
#include "Failure.h"
#include "files.h"
#include "MapName.h"
#include "Output.h"
#include "registry.h"
#include "StoreName.h"
#include "text.h"
#include <filesystem>

namespace mbhost {
namespace {

// The names of the registered translators that this library provides.
std::string namesServedBy(const Engine& engine, const std::filesystem::path& library)
{
    std::string names;
    for (const TranslatorInfo& translator : listTranslators(engine)) {
        const std::u16string path = u"CLSID\\" + platform::utf16(guidName(translator.clsid)) + u"\\InprocServer32";
        const auto key = platform::RegistryKey::open(platform::Root::ClassesRoot, path);
        const auto server = key ? key->text(u"") : std::nullopt;
        if (!server || platform::pathOf(*server) != library) continue;
        names += (names.empty() ? "" : ", ") + printable(translator.name);
    }
    return names;
}

std::string registryPlace()
{
    const std::filesystem::path file = platform::registryFile(); // empty on Windows, whose registry is not a file
    return file.empty() ? std::string() : " " + quote(file.string());
}

struct Registration {
    const char *function, *verb;
};
constexpr Registration registering{"DllRegisterServer", "registered"}, unregistering{"DllUnregisterServer", "unregistered"};

void callPlugin(const Registration& registration, const std::filesystem::path& path)
{
    const std::string name = quote(textOf(path));
    platform::Library library(path);
    if (!library) throw Failure("The file " + name + " is not a plug-in: it cannot be loaded.");
    const auto call = library.function<HRESULT()>(registration.function);
    if (!call) throw Failure("The file " + name + " is not a plug-in: it has no function " + registration.function + ".");
    const HRESULT hr = call();
    library.release(); // keeps the library loaded: its objects and static data must stay valid until the process ends
    if (FAILED(hr))
        throw Failure("The plug-in " + name + " could not be " + registration.verb + " in the registry" + registryPlace() + ": " +
                      describe(hr));
}

void callEach(const Registration& registration, const std::vector<std::string>& files)
{
    const Engine engine;
    for (const std::string& file : files) {
        std::error_code error;
        const auto path = std::filesystem::canonical(pathOf(file), error);
        if (error) throw Failure("The plug-in " + quote(file) + " does not exist.");
        const std::string before = namesServedBy(engine, path);
        callPlugin(registration, path);
        const std::string after = namesServedBy(engine, path), names = after.empty() ? before : after;
        if (&registration == &unregistering && !after.empty())
            throw Failure("The plug-in " + quote(textOf(path)) + " is still registered: the registry" + registryPlace() +
                          " cannot be written.");
        print(std::string(registration.verb) + " " + (names.empty() ? "" : names + " from ") + printable(textOf(path)) + "\n");
    }
}

void listPlugins(bool json)
{
    const Engine engine;
    const auto translators = listTranslators(engine);
    if (json) {
        Json out = Json::array();
        for (const auto& t : translators)
            out.push_back({{"name", t.name}, {"long_name", t.longName}, {"class", guidName(t.clsid)}, {"available", t.available}});
        return printJson(out);
    }
    if (translators.empty()) return print("No plug-in is registered. mb register PLUGIN registers one.\n");
    std::vector<std::vector<std::string>> rows;
    for (const auto& t : translators) rows.push_back({printable(t.name), t.available ? "yes" : "no", printable(t.longName)});
    print(table({"NAME", "READY", "STORE"}, rows));
    const auto maps = engine.maps();
    for (const auto& t : translators)
        if (!t.available)
            if (const std::string missing = missingPlugin(maps.get(), t); !missing.empty()) print(missing + "\n");
}

} // namespace

void addPluginCommands(CLI::App& app)
{
    struct Arguments {
        std::vector<std::string> files;
        bool json = false;
    };
    const auto given = std::make_shared<Arguments>();
    auto* add = app.add_subcommand("register", "Register plug-ins, so that mb can use their kinds of stores");
    add->footer("mb remembers the path of a plug-in; register the plug-in again after you move it.\n\n"
                "Example:\n  mb register build/linux/bin/cardfile.so build/linux/bin/vcard.so");
    add->add_option("PLUGIN", given->files, "The plug-in's library file")->required();
    add->callback([given] { callEach(registering, given->files); });

    auto* remove = app.add_subcommand("unregister", "Remove the registration of plug-ins");
    remove->footer("The maps of the plug-in stay; they work again after you register the plug-in again.\n\n"
                   "Example:\n  mb unregister build/linux/bin/vcard.so");
    remove->add_option("PLUGIN", given->files, "The plug-in's library file")->required();
    remove->callback([given] { callEach(unregistering, given->files); });

    auto* list = app.add_subcommand("translators", "List the kinds of stores that have a registered plug-in");
    list->footer("Examples:\n  mb translators\n  mb translators --json");
    list->add_flag("--json", given->json, jsonHelp);
    list->callback([given] { listPlugins(given->json); });
}

} // namespace mbhost
