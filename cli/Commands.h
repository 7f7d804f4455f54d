#pragma once

#include <CLI/CLI.hpp>

#include "cli/Io.h"
#include "platform/Platform.h"

namespace cronvel {

/// What every subcommand is made with. Both outlive the parser.
struct Shell {
  Platform& platform;
  Io& io;
};

// Each adds its subcommands, which run when the whole command line was read. A command that does
// not succeed leaves by a CommandFailure or a RunTimeError.

/// test, set-clock, set-daylight, set-keyboard, reset-memory
void addTerminalCommands(CLI::App& app, Shell shell);
/// download
void addDownloadCommand(CLI::App& app, Shell shell);
/// check, show
void addFileCommands(CLI::App& app, Shell shell);
/// settings
void addSettingsCommand(CLI::App& app, Shell shell);

/// card add, delete, delete-all, upload, table
void addCardCommands(CLI::App& app, Shell shell);
/// reader, access, group, code4, code10, message, mode
void addPeopleCommands(CLI::App& app, Shell shell);
/// properties, alarms, dial
void addDeviceCommands(CLI::App& app, Shell shell);
/// monitor
void addMonitorCommand(CLI::App& app, Shell shell);

constexpr const char* peopleGroup = "Commands about people";
constexpr const char* terminalGroup = "Commands for a terminal";
constexpr const char* fileGroup = "Commands for files";

}  // namespace cronvel
