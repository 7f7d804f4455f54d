#include <chrono>
#include <memory>
#include <optional>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// How long a terminal has to connect in again to be switched off.
constexpr auto switchOffLimit = std::chrono::seconds(10);

struct MonitorOptions {
  Text group;
  Flag json;
  Number seconds;
  LinkChoice link;
};

struct MonitorPlan {
  std::vector<int> group;  ///< the ports of its terminals; empty: one terminal
  Peer peer;               ///< the one terminal
  std::optional<int> seconds;
  bool json = false;
};

/// "9000,9005-9010"
std::vector<int> readPorts(const std::string& text) {
  std::vector<int> ports;
  for (const std::string& part : split(text, ',')) {
    const std::size_t dash = part.find('-');
    const int first = parseNumber(part.substr(0, dash), 1, 65535, "--group, port");
    const int last = dash == std::string::npos
                         ? first
                         : parseNumber(part.substr(dash + 1), first, 65535, "--group, port");
    for (int port = first; port <= last; ++port) ports.push_back(port);
  }
  return ports;
}

void printEvents(TerminalSession& session, bool json) {
  session.onLiveData([&session, json](const std::string& source, const Bytes& bytes) {
    if (json)
      session.out() << R"({"time":")" << timeNow() << R"(","source":")" << source
                    << R"(","bytes":")" << hexText(bytes) << "\"}\n";
    else
      session.out() << timeNow() << "  " << source << "  " << hexText(bytes) << '\n';
    session.out() << std::flush;
  });
}

/// Until the time is over or somebody presses Ctrl-C.
void listen(TerminalSession& session, const MonitorPlan& plan) {
  const auto start = SteadyClock::now();
  const auto over = [&] {
    return plan.seconds && SteadyClock::now() - start >= std::chrono::seconds(*plan.seconds);
  };
  session.say("monitoring is on; Ctrl-C ends it", true);
  try {
    while (!over()) session.waitEvents();
  } catch (const CommandFailure& failure) {
    if (failure.status() != ExitStatus::interrupted) throw;
  }
}

void monitorLine(TerminalSession& session, const MonitorPlan& plan) {
  const auto change = [](bool on) {
    return [on](Cronvel& c) { return c.SetMonitoringOnOff(u"", on); };
  };
  if (!session.run(change(true))) throw session.failure("monitoring was not switched on");
  listen(session, plan);
  session.run(change(false));
}

/// The control listens without a limit: closing the socket ends that.
void limitWait(TerminalSession& session, SteadyClock::duration limit) {
  session.onTick([&session, end = SteadyClock::now() + limit] {
    if (session.socketState() == sckListening && SteadyClock::now() > end)
      session.control().WinSockClose(0);
  });
}

void monitorConnection(TerminalSession& session, const MonitorPlan& plan) {
  session.use(plan.peer);
  session.say("waiting for the terminal to connect in; Ctrl-C ends it", true);
  if (!session.run([](Cronvel& c) { return c.SetMonitoringOnOff(u"terminal", true); }))
    throw session.failure("monitoring was not switched on");
  listen(session, plan);
  session.control().WinSockClose(0);
  limitWait(session, switchOffLimit);
  if (!session.run([](Cronvel& c) { return c.SetMonitoringOnOff(u"terminal", false); }))
    session.warn("the terminal did not connect in again, so its monitoring is still on");
}

/// Why the terminal that connects in to this port could not be switched on; nothing if it was.
std::optional<CommandFailure> switchOnMember(TerminalSession& session, int port) {
  const std::u16string host = toUtf16("terminal-" + std::to_string(port));
  try {
    if (session.run([&](Cronvel& c) { return c.SetMonitoringOnGroup(host, true); })) return {};
    return session.failure("monitoring was not switched on");
  } catch (const CommandFailure& failure) {
    if (failure.status() == ExitStatus::interrupted) throw;
    return failure;
  }
}

void switchGroupOff(TerminalSession& session) {
  session.run([](Cronvel& c) { return c.SetMonitoringOffGroup(u"all", false); });
}

struct GroupOutcome {
  bool anyOn = false;
  ExitStatus status = ExitStatus::done;  ///< the gravest of the members'
};

GroupOutcome switchGroupOn(TerminalSession& session, const std::vector<int>& ports) {
  GroupOutcome outcome;
  try {
    for (const int port : ports) {
      const auto problem = switchOnMember(session, port);
      outcome.anyOn |= !problem;
      if (!problem) continue;
      outcome.status = gravest(outcome.status, problem->status());
      session.warn("port " + std::to_string(port) + ": " + problem->what());
    }
  } catch (const CommandFailure&) {
    switchGroupOff(session);  // those that are on already
    throw;
  }
  return outcome;
}

void monitorGroup(TerminalSession& session, const MonitorPlan& plan) {
  const GroupOutcome outcome = switchGroupOn(session, plan.group);
  if (!outcome.anyOn) throw CommandFailure(outcome.status, "no terminal could be switched on");
  listen(session, plan);
  switchGroupOff(session);
  if (outcome.status != ExitStatus::done)
    throw CommandFailure(outcome.status, "some terminals were never switched on");
}

void monitor(TerminalSession& session, const MonitorPlan& plan) {
  printEvents(session, plan.json);
  if (!plan.group.empty()) return monitorGroup(session, plan);
  plan.peer.kind == Peer::Kind::line ? monitorLine(session, plan)
                                     : monitorConnection(session, plan);
}

Link prepareGroupLink(const LinkOptions& options) {
  if (!options.port.empty() || options.onNetwork())
    throw CommandFailure(
        ExitStatus::wrongUse,
        "--group says where its terminals connect in; leave out --port, --listen and --host");
  return Link::nowhere(options);
}

Link prepareLink(const LinkOptions& options) {
  Link link = Link::toTerminal(options);
  if (!link.host().empty())
    throw CommandFailure(
        ExitStatus::wrongUse,
        "over the network monitor waits for the terminal to connect in: give --listen PORT");
  return link;
}

Invocation prepareMonitor(const MonitorOptions& options) {
  MonitorPlan plan{.group = {}, .peer = {}, .seconds = *options.seconds, .json = *options.json};
  if (!options.group->empty()) plan.group = readPorts(*options.group);
  Link link = plan.group.empty() ? prepareLink(*options.link) : prepareGroupLink(*options.link);
  if (plan.group.empty()) plan.peer = link.listens("monitor");
  return {std::move(link), [plan](TerminalSession& session) { monitor(session, plan); }};
}

}  // namespace

void addMonitorCommand(const Command& cronvel) {
  const Command command =
      cronvel.add("monitor", "Print a terminal's live events as they come", Command::people);
  command.footer(
      "Switches live monitoring on, prints what arrives (time, source, bytes in hexadecimal), and\n"
      "switches it off at the end. What the bytes mean stands in the terminal's documentation.");
  const MonitorOptions options{
      .group = command.option("--group", "PORT[-PORT],...",
                              "Several network terminals, each connecting in to a port of its own"),
      .json = command.flag("--json", "One JSON object for each block of bytes"),
      .seconds = command.number("--seconds", 1, 1'000'000, "End by itself after this time"),
      .link = command.link()};
  command.prepare([=] { return prepareMonitor(options); });
}

}  // namespace cronvel
