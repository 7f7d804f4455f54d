#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/LinkOptions.h"
#include "cli/TerminalTask.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// How long a terminal has to connect in again to be switched off.
constexpr auto switchOffLimit = std::chrono::seconds(10);

struct MonitorOptions {
  LinkOptions link;
  std::string group;
  std::optional<int> seconds;
  bool json = false;
};

/// "9000,9005-9010"
std::vector<int> readPorts(const std::string& text) {
  std::vector<int> ports;
  for (const std::string& part : CLI::detail::split(text, ',')) {
    const std::size_t dash = part.find('-');
    const int first = parseNumber(part.substr(0, dash), 1, 65535, "--group, port");
    const int last = dash == std::string::npos
                         ? first
                         : parseNumber(part.substr(dash + 1), first, 65535, "--group, port");
    for (int port = first; port <= last; ++port) ports.push_back(port);
  }
  return ports;
}

std::string hexOf(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%02X", static_cast<unsigned>(byte));
    text += (text.empty() ? "" : " ") + std::string(digits.data());
  }
  return text;
}

void printEvents(TerminalSession& session, bool json) {
  session.onLiveData([&session, json](const std::string& source, const Bytes& bytes) {
    if (json)
      session.out() << R"({"time":")" << timeNow() << R"(","source":")" << source
                    << R"(","bytes":")" << hexOf(bytes) << "\"}\n";
    else
      session.out() << timeNow() << "  " << source << "  " << hexOf(bytes) << '\n';
    session.out() << std::flush;
  });
}

/// Until the time is over or somebody presses Ctrl-C.
void listen(TerminalSession& session, Shell shell, const MonitorOptions& options) {
  const auto start = SteadyClock::now();
  const auto over = [&] {
    return options.seconds && SteadyClock::now() - start >= std::chrono::seconds(*options.seconds);
  };
  session.say("monitoring is on; Ctrl-C ends it", true);
  try {
    while (!over()) shell.platform.messagePump().waitEvents();
  } catch (const CommandFailure& failure) {
    if (failure.status() != ExitStatus::interrupted) throw;
  }
}

void monitorLine(TerminalSession& session, Shell shell, const MonitorOptions& options) {
  const auto change = [](bool on) {
    return [on](Cronvel& c) { return c.SetMonitoringOnOff(u"", on); };
  };
  if (!session.run(change(true))) throw session.failure("monitoring was not switched on");
  listen(session, shell, options);
  session.run(change(false));
}

/// The control listens without a limit: closing the socket ends that.
void limitWait(TerminalSession& session, SteadyClock::duration limit) {
  session.onTick([&session, end = SteadyClock::now() + limit] {
    if (session.socketState() == sckListening && SteadyClock::now() > end)
      session.control().WinSockClose(0);
  });
}

void monitorConnection(TerminalSession& session, Shell shell, const MonitorOptions& options) {
  session.useListenPort();
  session.say("waiting for the terminal to connect in; Ctrl-C ends it", true);
  if (!session.run([](Cronvel& c) { return c.SetMonitoringOnOff(u"terminal", true); }))
    throw session.failure("monitoring was not switched on");
  listen(session, shell, options);
  session.control().WinSockClose(0);
  limitWait(session, switchOffLimit);
  if (!session.run([](Cronvel& c) { return c.SetMonitoringOnOff(u"terminal", false); }))
    session.warn("the terminal did not connect in again, so its monitoring is still on");
}

/// Why the terminal that connects in to this port could not be switched on; empty if it was.
std::string switchOnMember(TerminalSession& session, int port) {
  const std::u16string host = toUtf16("terminal-" + std::to_string(port));
  try {
    if (session.run([&](Cronvel& c) { return c.SetMonitoringOnGroup(host, true); })) return {};
    return session.failure("monitoring was not switched on").what();
  } catch (const CommandFailure& failure) {
    if (failure.status() == ExitStatus::interrupted) throw;
    return failure.what();
  }
}

void switchGroupOff(TerminalSession& session) {
  session.run([](Cronvel& c) { return c.SetMonitoringOffGroup(u"all", false); });
}

int switchGroupOn(TerminalSession& session, const std::vector<int>& ports) {
  int on = 0;
  try {
    for (const int port : ports) {
      const std::string problem = switchOnMember(session, port);
      on += problem.empty() ? 1 : 0;
      if (!problem.empty()) session.warn("port " + std::to_string(port) + ": " + problem);
    }
  } catch (const CommandFailure&) {
    switchGroupOff(session);  // those that are on already
    throw;
  }
  return on;
}

void monitorGroup(TerminalSession& session, Shell shell, const MonitorOptions& options) {
  const int on = switchGroupOn(session, readPorts(options.group));
  if (on == 0) throw CommandFailure(ExitStatus::refused, "no terminal could be switched on");
  listen(session, shell, options);
  switchGroupOff(session);
}

void monitor(MonitorOptions options, Shell shell) {
  const bool group = !options.group.empty();
  if (group) {
    readPorts(options.group);
    if (!options.link.port.empty() || options.link.onNetwork())
      throw CommandFailure(ExitStatus::wrongUse,
                           "--group says where its terminals connect in; leave out --port, "
                           "--listen and --host");
  } else {
    chooseLink(options.link);
    if (!options.link.host.empty())
      throw CommandFailure(ExitStatus::wrongUse,
                           "over the network monitor waits for the terminal to connect in: give "
                           "--listen PORT");
  }
  TerminalSession session(shell.platform, shell.io, options.link);
  printEvents(session, options.json);
  if (group) return monitorGroup(session, shell, options);
  options.link.onNetwork() ? monitorConnection(session, shell, options)
                           : monitorLine(session, shell, options);
}

}  // namespace

void addMonitorCommand(CLI::App& app, Shell shell) {
  auto options = std::make_shared<MonitorOptions>();
  CLI::App* command = app.add_subcommand("monitor", "Print a terminal's live events as they come")
                          ->group(peopleGroup);
  command
      ->add_option("--group", options->group,
                   "Several network terminals, each connecting in to a port of its own")
      ->type_name("PORT[-PORT],...");
  command->add_flag("--json", options->json, "One JSON object for each block of bytes");
  addNumber(*command, "--seconds", options->seconds, 1, 1'000'000, "End by itself after this time");
  addLinkOptions(*command, options->link);
  command->footer(
      "Switches live monitoring on, prints what arrives (time, source, bytes in hexadecimal), and\n"
      "switches it off at the end. What the bytes mean stands in the terminal's documentation.");
  command->callback([options, shell] { monitor(*options, shell); });
}

}  // namespace cronvel
