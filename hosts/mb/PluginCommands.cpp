#include "Commands.h"
#include "Engine.h"
#include "Failure.h"
#include "MapName.h"
#include "Output.h"
#include <filesystem>

namespace mbhost {
namespace {

// Calls one of the registration functions of each library.
void callEach(const std::vector<std::string>& files, const char* function, const char* verb)
{
    for (const std::string& file : files) {
        std::error_code error;
        const auto path = std::filesystem::canonical(file, error);
        if (error) throw Failure("The plug-in " + printable(file) + " does not exist.");
        platform::Library library(path);
        const auto call = library ? library.function<HRESULT()>(function) : nullptr;
        if (!call)
            throw Failure(printable(file) + " is no plug-in: it " + (library ? "has no " + std::string(function) : "cannot be loaded") +
                          ".");
        const HRESULT hr = call();
        library.release(); // its objects and static data stay valid to the end of the process
        if (FAILED(hr)) throw Failure("The plug-in " + printable(file) + " could not be " + verb + ": " + describe(hr));
        print(std::string(verb) + " " + printable(path.string()) + "\n");
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
}

} // namespace

void addPluginCommands(CLI::App& app)
{
    struct Arguments {
        std::vector<std::string> files;
        bool json = false;
    };
    const auto given = std::make_shared<Arguments>();
    auto* add = app.add_subcommand("register", "Make plug-ins known to the engine\n\nExample:\n  mb register build/linux/bin/vcard.so");
    add->add_option("PLUGIN", given->files, "The plug-in's library file")->required();
    add->callback([given] { callEach(given->files, "DllRegisterServer", "registered"); });

    auto* remove =
        app.add_subcommand("unregister", "Make the engine forget plug-ins\n\nExample:\n  mb unregister build/linux/bin/vcard.so");
    remove->add_option("PLUGIN", given->files, "The plug-in's library file")->required();
    remove->callback([given] { callEach(given->files, "DllUnregisterServer", "unregistered"); });

    auto* list =
        app.add_subcommand("translators", "List the kinds of stores that plug-ins are registered for\n\nExample:\n  mb translators --json");
    list->add_flag("--json", given->json, "For scripts");
    list->callback([given] { listPlugins(given->json); });
}

} // namespace mbhost
