#include "Commands.h"
#include "error_text.h"
#include "Failure.h"
#include "files.h"
#include "host.h"
#include "interrupt.h"
#include "MapName.h"
#include "Output.h"
#include "StoreName.h"
#include "text.h"

namespace mbhost {
namespace {

// A script that cannot be cancelled is ended with the program. What it wrote stays: no file is ever half written.
void endScript()
{
    if (!platform::cancelScript()) platform::endAtOnce("mb: The script was cancelled.\n", exitCancelled);
}

// The plug-ins look there for the store of a map that has no settings, as a map is that a script makes.
void nameStore(const std::vector<TranslatorInfo>& translators, const std::string& text)
{
    const StoreName store = parseStore(text);
    std::u16string variable = u"MB_STORE_";
    for (const char16_t c : platform::utf16(resolveTranslator(translators, store.translator).name)) variable += platform::upper(c);
    platform::setEnvironment(variable, platform::utf16(absolutePath(store.database)));
}

void runScript(const std::string& script, const std::vector<std::string>& stores)
{
    const std::filesystem::path file = pathOf(absolutePath(script));
    if (!platform::fileExists(file)) throw Failure("The script " + quote(script) + " does not exist.");
    const Engine engine;
    if (!stores.empty()) {
        const auto translators = listTranslators(engine);
        for (const std::string& store : stores) nameStore(translators, store);
    }
    platform::takeInterrupts(endScript);
    const com::Bstr path(platform::textOf(file));
    const HRESULT hr = engine.create<ISyncAutoTest>(__uuidof(SyncAutoTest))->RunTests(path.get());
    if (hr == S_OK) return;
    const std::string told = printable(platform::takeErrorText());
    if (hr == E_ABORT) throw Failure(told, exitCancelled);
    if (hr > 0) throw Failure("The script " + quote(script) + " cannot be read: the system's error " + std::to_string(hr) + ".");
    throw Failure(told.empty() ? "The script failed: " + describe(hr) : told);
}

} // namespace

void addScriptCommand(CLI::App& app)
{
    struct Arguments {
        std::string script;
        std::vector<std::string> stores;
    };
    const auto given = std::make_shared<Arguments>();
    auto* command = app.add_subcommand("run", "Run a script that drives the engine");
    command->footer("The script is loaded and its function Main is called. It makes MBSync.SyncAutoTest.1 by CreateObject and drives maps\n"
                    "and stores with it; docs/examples/first-sync.lua and .vbs show how. Ctrl-C stops it.\n\n"
                    "Examples:\n  mb run docs/examples/first-sync.lua --store Mirabook=story.db --store vCard=Contacts");
    command->add_option("SCRIPT", given->script, "The script: in Lua, on Windows in VBScript")->required();
    command->add_option("--store", given->stores, "NAME=DATABASE: what a plug-in opens for maps that the script makes; may be repeated");
    command->callback([given] { runScript(given->script, given->stores); });
}

} // namespace mbhost
