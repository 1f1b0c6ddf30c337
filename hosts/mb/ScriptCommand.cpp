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

// Ends the program and the script with it. What the script wrote stays; files are replaced whole, so none is half written.
void endProgram() { platform::endAtOnce("mb: The script was cancelled.\n", exitCancelled); }

// How long a script may take to end: its current library call or the last writes of a run must finish.
constexpr unsigned secondsToEnd = 3;

// The first interrupt asks the script to end, and ends the program if the script does not end in time. The second one ends the program at
// once.
void endScript()
{
    static std::atomic<bool> asked = false;
    if (asked.exchange(true) || !platform::cancelScript()) endProgram();
    platform::endLater(secondsToEnd, endProgram);
}

// Sets the environment variable that names a plug-in's store for maps without settings, which are the maps that a script creates.
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
    if (hr == S_OK) throw Failure({}, static_cast<ExitCode>(result)); // the script has printed its own messages
    const std::string told = printable(platform::takeErrorText());
    if (hr == E_ABORT) throw Failure(told, exitCancelled);
    if (hr > 0) throw Failure("The script " + quote(script) + " cannot be read: system error " + std::to_string(hr) + ".");
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
    command->footer(
        "mb loads the script and calls its function Main. CreateObject(\"MBSync.SyncAutoTest.1\") gives the script an object that\n"
        "runs maps and edits stores, its own and yours; docs/examples/first-sync.lua and .vbs show how. The script gets the\n"
        "arguments after --: in Lua as the table arg, from index 1; in VBScript as the array Arguments, from index 0. If Main\n"
        "returns a whole number from 1 to 255, that is the exit code. Ctrl-C stops the script; a second Ctrl-C stops it at once.\n\n"
        "Examples:\n  mb run docs/examples/first-sync.lua --store Mirabook=story.db --store vCard=Contacts\n"
        "  mb run nightly.lua -- {5F49A2C1-0D7E-4B36-9A58-C2E417F3B6D0} now");
    command->add_option("SCRIPT", given->script, "The script: in Lua, on Windows in VBScript")->required();
    command->add_option("--store", given->stores,
                        "NAME=DATABASE: the store that a plug-in opens for the script's own maps; may be repeated");
    command->add_option("ARGUMENT", given->arguments, "Arguments for the script, after --");
    command->callback([given] { runScript(given->script, given->stores, given->arguments); });
}

} // namespace mbhost
