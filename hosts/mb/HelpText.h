// The help texts of mb and of its commands, and the sentences for a command line that mb does not understand.
#pragma once
#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace mbhost {

// Formats the help of the program and of each command for the width of the terminal. Lines break at blanks.
void formatHelp(CLI::App& app);

// Turns "help" and "help COMMAND" into "--help" and "COMMAND --help"; returns other arguments unchanged. Throws a Failure of wrong usage
// for an unknown command; its sentence suggests the nearest command.
std::vector<std::string> commandLine(const CLI::App& app, std::vector<std::string> arguments);

// The sentence for a wrong option or argument: it suggests the nearest option, if one is near, and names the command whose help to read.
std::string usageSentence(const CLI::App* app, const CLI::Error& error);

// Returns the name nearest to what was typed, or an empty text if none is near. Near: at most a third of the letters are wrong, missing,
// added, or swapped with their neighbour.
std::string nearestName(const std::string& typed, const std::vector<std::string>& names);

} // namespace mbhost
