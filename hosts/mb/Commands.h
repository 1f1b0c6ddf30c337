// The commands of mb, one group per file. Each function adds its commands to the program; a command runs once the command line was parsed.
#pragma once
#include <CLI/CLI.hpp>

namespace mbhost {

inline constexpr char mapHelp[] = "The map's identifier or its first characters", jsonHelp[] = "As JSON, for scripts",
                      noMapYet[] = "There is no map yet. mb add NAME1=DATABASE1 NAME2=DATABASE2 creates one.\n";

void addPluginCommands(CLI::App& app);   // register, unregister, translators
void addMapCommands(CLI::App& app);      // add, maps, show, set, remove
void addFieldCommands(CLI::App& app);    // fields
void addSyncCommand(CLI::App& app);      // sync
void addStatusCommands(CLI::App& app);   // status, log
void addHistoryCommand(CLI::App& app);   // history
void addTransferCommands(CLI::App& app); // targets, transfer
void addRecordCommands(CLI::App& app);   // record-status, filter
void addScriptCommand(CLI::App& app);    // run

} // namespace mbhost
