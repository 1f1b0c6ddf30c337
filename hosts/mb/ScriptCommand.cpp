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
#include <atomic>

namespace mbhost {
namespace {

// Ends the script with the program. What it wrote stays: no file is ever half written.
void endProgram() { platform::endAtOnce("mb: The script was cancelled.\n", exitCancelled); }

// How long a script has for what it is in, a call of its library or a run's last writes, when it is to end.
constexpr unsigned secondsToEnd = 3;

// The first interrupt asks the script to end, and ends the program if it does not; a second one does so at once.
void endScript()
{
    static std::atomic<bool> asked = false;
    if (asked.exchange(true) || !platform::cancelScript()) endProgram();
    platform::endLater(secondsToEnd, endProgram);
}

// The plug-ins look there for the store of a map that has no settings, as a map is that a script makes.
void nameStore(const std::vector<TranslatorInfo>& translators, const std::string& text)
{
    const StoreName store = parseStore(text);
    std::u16string variable = u"MB_STORE_";
    for (const char16_t c : platform::utf16(resolveTranslator(translators, store.translator).name)) variable += platform::upper(c);
    platform::setEnvironment(variable, platform::utf16(absolutePath(store.database)));
}

HRESULT runWith(IScriptRun& runner, const com::Bstr& path, const std::vector<std::u16string>& arguments, LONG& result)
{
    SAFEARRAY* texts = com::makeTextArray(arguments);
    const HRESULT hr = runner.Run(path.get(), texts, &result);
    (void)SafeArrayDestroy(texts);
    return hr;
}

void runScript(const std::string& script, const std::vector<std::string>& stores, const std::vector<std::string>& arguments)
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
    std::vector<std::u16string> texts;
    for (const std::string& argument : arguments) texts.push_back(platform::utf16(argument));
    LONG result = 0;
    const HRESULT hr = runWith(*engine.create<IScriptRun>(__uuidof(SyncAutoTest)).get(), path, texts, result);
    if (hr == S_OK && result == 0) return;
    if (hr == S_OK) throw Failure({}, static_cast<ExitCode>(result)); // the script has told what it had to tell
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
        std::vector<std::string> stores, arguments;
    };
    const auto given = std::make_shared<Arguments>();
    auto* command = app.add_subcommand("run", "Run a script that drives the engine");
    command->footer("The script is loaded and its function Main is called. It makes MBSync.SyncAutoTest.1 by CreateObject and drives maps\n"
                    "and stores with it, its own and the user's; docs/examples/first-sync.lua and .vbs show how. What stands behind -- is\n"
                    "for the script: in Lua the table arg, from 1 on, in VBScript the array Arguments, from 0 on. If Main returns a whole\n"
                    "number from 1 to 255, that is the exit code. Ctrl-C stops the script, a second one at once.\n\n"
                    "Examples:\n  mb run docs/examples/first-sync.lua --store Mirabook=story.db --store vCard=Contacts\n"
                    "  mb run nightly.lua -- {5F49A2C1-0D7E-4B36-9A58-C2E417F3B6D0} now");
    command->add_option("SCRIPT", given->script, "The script: in Lua, on Windows in VBScript")->required();
    command->add_option("--store", given->stores, "NAME=DATABASE: what a plug-in opens for maps that the script makes; may be repeated");
    command->add_option("ARGUMENT", given->arguments, "What the script is given, behind --");
    command->callback([given] { runScript(given->script, given->stores, given->arguments); });
}

} // namespace mbhost
