#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <optional>
#include <ostream>
#include <utility>

#include "cli/Command.h"
#include "cli/CommandFailure.h"

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
      "\"cronvel COMMAND --help\" explains a command.\n" +
      std::string(exitStatusHelp));
}

ExitStatus fail(Io& io, ExitStatus status, const std::string& sentence) {
  io.out.flush();
  io.err << "cronvel: " << sentence << '\n' << std::flush;
  return status;
}

void addCommands(const Command& cronvel, const Io& io) {
  addTerminalCommands(cronvel, io);
  addDeviceCommands(cronvel);
  addDownloadCommand(cronvel);
  addCardCommands(cronvel, io);
  addPeopleCommands(cronvel);
  addTextCommand(cronvel);
  addMonitorCommand(cronvel);
  addFileCommands(cronvel);
  addSettingsCommand(cronvel);
}

/// "help COMMAND" is "COMMAND --help".
void readHelpWord(std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments.front() != "help") return;
  arguments.erase(arguments.begin());
  arguments.push_back("--help");
}

/// What to do about an argument that the parser does not know.
std::string hint(const std::vector<std::string>& arguments) {
  const bool optionFirst = !arguments.empty() && arguments.front().starts_with("-");
  return optionFirst ? " (options stand after the command: cronvel COMMAND --port ...)"
                     : " (try --help)";
}

/// Reads the arguments; nothing where help or the version was asked for, and shown.
std::optional<Invocation> prepare(Io& io, std::vector<std::string> arguments) {
  CLI::App app;
  describe(app);
  std::optional<Invocation> prepared;
  addCommands({app, prepared}, io);
  readHelpWord(arguments);
  const std::string advice = hint(arguments);
  std::reverse(arguments.begin(), arguments.end());  // the parser takes them from the back
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& end) {  // help and version end the parser like errors do
    if (end.get_exit_code() != 0) throw CommandFailure(ExitStatus::wrongUse, end.what() + advice);
    app.exit(end, io.out, io.err);
    return {};
  }
  if (!prepared) throw CommandFailure(ExitStatus::wrongUse, "which command? (try --help)");
  return prepared;
}

/// A list or settings file that cannot be read is a mistake in the command line like any other.
std::optional<Invocation> prepareOrRefuse(Io& io, std::vector<std::string> arguments) {
  try {
    return prepare(io, std::move(arguments));
  } catch (const RunTimeError& error) {
    throw CommandFailure(ExitStatus::wrongUse, CommandFailure(error).what());
  }
}

ExitStatus run(Platform& platform, Io& io, std::vector<std::string> arguments) {
  try {
    const auto invocation = prepareOrRefuse(io, std::move(arguments));
    if (invocation) invocation->run({platform, io});
    return ExitStatus::done;
  } catch (const CommandFailure& failure) {
    return fail(io, failure.status(), failure.what());
  } catch (const RunTimeError& error) {
    const CommandFailure failure(error);
    return fail(io, failure.status(), failure.what());
  } catch (const std::exception& error) {
    return fail(io, ExitStatus::error, std::string("unexpected error: ") + error.what());
  }
}

}  // namespace

ExitStatus runCommandLine(Platform& platform, Io& io, std::vector<std::string> arguments) {
  const ExitStatus status = run(platform, io, std::move(arguments));
  if (io.out.flush()) return status;
  const CommandFailure failure(
      RunTimeError(ErrorNumber::deviceIoError, "the results could not be written out"));
  return fail(io, gravest(status, failure.status()), failure.what());
}

}  // namespace cronvel
