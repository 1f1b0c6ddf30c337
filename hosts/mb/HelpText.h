// The help of mb and of its commands, and how the command line reaches it.
#pragma once
#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace mbhost {

// Lays all help out for the width of the terminal; lines break at blanks. For the program and each of its commands.
void formatHelp(CLI::App& app);

// "help" and "help COMMAND" as "--help" and "COMMAND --help"; other arguments as they are. Throws a Failure of wrong usage for a command
// that is none: it names the nearest one.
std::vector<std::string> commandLine(const CLI::App& app, std::vector<std::string> arguments);

// A sentence for what was typed wrongly behind the command: it names the nearest option, if one is near, and whose help tells more.
std::string usageSentence(const CLI::App* app, const CLI::Error& error);

// The nearest of the names; empty if none is near: a third of its letters may be wrong, missing, added or swapped with the next one.
std::string nearestName(const std::string& typed, const std::vector<std::string>& names);

} // namespace mbhost
