#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>

#include "cli/Commands.h"

namespace cronvel {

namespace {

void describe(CLI::App& app) {
  app.name("cronvel");
  app.description("Drives time-attendance and access-control terminals.");
  app.set_version_flag("--version", "cronvel " CRONVEL_VERSION);
  app.require_subcommand(0, 1);
  app.get_formatter()->column_width(32);
  app.footer(
      "Examples:\n"
      "  cronvel test --port 1 --device 3            does terminal 3 on serial port 1 answer?\n"
      "  cronvel download march --port /dev/ttyUSB0  fetch its records into march.Hex\n"
      "  cronvel show march --format csv             and print them\n\n"
      "\"cronvel COMMAND --help\" explains a command.\n"
      "Exit status: 0 done, 1 the terminal refused or did not answer, 2 wrong use, 3 an error,\n"
      "130 ended by Ctrl-C.");
}

ExitStatus fail(Io& io, ExitStatus status, const std::string& sentence) {
  io.out.flush();
  io.err << "cronvel: " << sentence << '\n' << std::flush;
  return status;
}

/// Help and version end the parser like errors do.
ExitStatus endOfParsing(CLI::App& app, Io& io, const CLI::ParseError& error) {
  if (error.get_exit_code() == 0) {
    app.exit(error, io.out, io.err);
    return ExitStatus::done;
  }
  return fail(io, ExitStatus::wrongUse, std::string(error.what()) + " (try --help)");
}

}  // namespace

ExitStatus runCommandLine(Platform& platform, Io& io, std::vector<std::string> arguments) {
  CLI::App app;
  describe(app);
  const Shell shell{platform, io};
  addTerminalCommands(app, shell);
  addDeviceCommands(app, shell);
  addDownloadCommand(app, shell);
  addCardCommands(app, shell);
  addPeopleCommands(app, shell);
  addMonitorCommand(app, shell);
  addFileCommands(app, shell);
  addSettingsCommand(app, shell);
  std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
  try {
    app.parse(std::move(arguments));
    if (app.get_subcommands().empty())
      return fail(io, ExitStatus::wrongUse, "which command? (try --help)");
    return ExitStatus::done;
  } catch (const CLI::ParseError& error) {
    return endOfParsing(app, io, error);
  } catch (const CommandFailure& failure) {
    return fail(io, failure.status(), failure.what());
  } catch (const RunTimeError& error) {
    const CommandFailure failure(error);
    return fail(io, failure.status(), failure.what());
  } catch (const std::exception& error) {
    return fail(io, ExitStatus::error, std::string("unexpected error: ") + error.what());
  }
}

}  // namespace cronvel
