// mb: keeps pairs of contact stores in step from the command line.
#include "apartment.h"
#include "arguments.h"
#include "Commands.h"
#include "Engine.h"
#include "Failure.h"
#include "HelpText.h"
#include "host.h"
#include "Output.h"
#include <algorithm>
#include <cstdio>

int main(int argc, char** argv)
{
    using namespace mbhost;
    const platform::Apartment apartment;
    CLI::App app{"mb keeps pairs of contact stores in step.\n\n"
                 "A plug-in opens one kind of store; a map is a pair of stores that mb keeps in step:\n"
                 "  mb register build/linux/bin/vcard.so build/linux/bin/cardfile.so\n"
                 "  mb add Mirabook=~/cards.db vCard=~/Contacts\n"
                 "  mb sync",
                 "mb"};
    app.require_subcommand(1);
    app.failure_message(usageSentence);
    app.set_version_flag("--version", "mb 1.0");
    app.add_flag_callback(
        "--without-locks", [] { platform::setEnvironment(u"MB_WITHOUT_LOCKS", u"1"); },
        "Run although the file system of the data folder has no locks; make sure that no other run is active");
    app.footer(
        "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 cancelled, 4 in use by another run. mb COMMAND --help tells more about a command.");
    try {
        addPluginCommands(app);
        addMapCommands(app);
        addFieldCommands(app);
        addSyncCommand(app);
        addTransferCommands(app);
        addStatusCommands(app);
        addRecordCommands(app);
        addHistoryCommand(app);
        addScriptCommand(app);
        formatHelp(app);
        if (argc == 1) {
            std::fputs(app.help().c_str(), stderr);
            return exitUsage;
        }
        auto arguments = commandLine(app, platform::arguments(argc, argv));
        std::ranges::reverse(arguments); // CLI11 takes the arguments in reverse
        app.parse(std::move(arguments));
        finishOutput();
        return exitDone;
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? exitDone : exitUsage;
    } catch (const Failure& e) {
        tellFailure(e.what());
        return e.code();
    } catch (const com::Error& e) {
        std::fprintf(stderr, "mb: The engine failed: %s\n", describe(e.code()).c_str());
        return exitFailed;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mb: An unexpected error ended mb: %s\n", e.what());
        return exitFailed;
    }
}
