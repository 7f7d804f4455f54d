#include <chrono>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <utility>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "protocol/CommandExchange.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

/// How long a terminal has to answer that its monitoring is on.
constexpr auto answerLimit = std::chrono::seconds(5);

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

  bool onLine() const { return group.empty() && peer.kind == Peer::Kind::line; }
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

constexpr std::int16_t theLine = -1;

/// Events from terminals that were switched on, until Ctrl-C and the like, the end of the time, or
/// of the last link.
class Monitor {
 public:
  Monitor(TerminalSession& session, const MonitorPlan& plan) : mSession(session), mPlan(plan) {
    mSession.onLiveData(
        [this](const std::string& source, const Bytes& bytes) { print(source, bytes); });
  }
  ~Monitor() { mSession.onLiveData({}); }
  Monitor(const Monitor&) = delete;
  Monitor& operator=(const Monitor&) = delete;

  void line();
  void connection();
  void group();

 private:
  void print(const std::string& source, const Bytes& bytes);
  template <typename Over>
  void listen(Over over);
  bool answered();
  bool switchOn(const std::u16string& host);
  void requireLine();
  void switchOnMember(int port);
  bool keepIfConnected(const std::string& name);
  void lookForSilent();
  void lookForLost();
  void startTime();
  void watchConnections();
  void switchOff();
  void problem(ExitStatus status, const std::string& sentence);
  void end(bool interrupted) const;

  TerminalSession& mSession;
  const MonitorPlan& mPlan;
  std::map<std::int16_t, std::string> mConnected;            ///< who is at a socket, for a person
  std::map<std::int16_t, SteadyClock::time_point> mAwaited;  ///< until when it may answer
  std::set<std::int16_t> mAnswered;                          ///< `line`, or a socket
  bool mEnding = false;
  ExitStatus mStatus = ExitStatus::done;  ///< the gravest problem so far
  SteadyClock::time_point mEnd = SteadyClock::time_point::max();
};

void Monitor::print(const std::string& source, const Bytes& bytes) {
  const std::int16_t from = mPlan.onLine() ? theLine : mSession.control().arrivalIndex();
  const bool isFirst = mAnswered.insert(from).second;
  if ((isFirst || mEnding) && bytes == Bytes{successReply}) return;  // to the switch: no event
  if (mPlan.json)
    mSession.out() << R"({"time":")" << timeNow() << R"(","source":")" << source << R"(","bytes":")"
                   << hexText(bytes) << "\"}\n";
  else
    mSession.out() << timeNow() << "  " << source << "  " << hexText(bytes) << '\n';
  mSession.out() << std::flush;
}

/// Until then, or until somebody ends it.
template <typename Over>
void Monitor::listen(Over over) {
  while (!over() && !mSession.interrupted() && mSession.out() && SteadyClock::now() < mEnd)
    mSession.waitEvents();
}

void Monitor::problem(ExitStatus status, const std::string& sentence) {
  mStatus = gravest(mStatus, status);
  mSession.warn(sentence);
}

void Monitor::end(bool interrupted) const {
  if (interrupted) throw CommandFailure(ExitStatus::interrupted, "interrupted");
  if (!mSession.out())
    throw CommandFailure(ExitStatus::error, "the events could not be written: the output failed");
  if (mStatus != ExitStatus::done)
    throw CommandFailure(mStatus, "not every terminal was monitored to the end");
}

/// Whether the terminal that was switched on says something; what else connects in does not.
bool Monitor::answered() {
  const auto limit = SteadyClock::now() + answerLimit;
  listen([&] {
    lookForLost();
    return !mAnswered.empty() || mConnected.empty() || SteadyClock::now() > limit;
  });
  return !mAnswered.empty() || mSession.interrupted();
}

void Monitor::startTime() {
  mSession.say("monitoring is on; Ctrl-C ends it", true);
  if (mPlan.seconds) mEnd = SteadyClock::now() + std::chrono::seconds(*mPlan.seconds);
}

/// False when it was interrupted meanwhile: then the terminal may be on or not.
bool Monitor::switchOn(const std::u16string& host) {
  try {
    if (mSession.run([&](Cronvel& c) { return c.SetMonitoringOnOff(host, true); })) return true;
    throw mSession.failure("monitoring was not switched on");
  } catch (const CommandFailure& failure) {
    if (failure.status() != ExitStatus::interrupted) throw;
    return false;
  }
}

/// Fails when the port's device has gone.
void Monitor::requireLine() {
  try {
    mSession.control().port().InBufferCount();
  } catch (const RunTimeError& error) {
    throw CommandFailure(error);
  }
}

void Monitor::line() {
  switchOn(u"");
  startTime();
  mAwaited[theLine] = SteadyClock::now() + answerLimit;
  listen([&] {
    requireLine();
    lookForSilent();
    return false;
  });
  const bool interrupted = mSession.interrupted();
  if (!mSession.finish([](Cronvel& c) { return c.switchLineOff(); }))
    problem(ExitStatus::noAnswer,
            mSession.terminal() + " has not confirmed that its monitoring is off");
  end(interrupted);
}

void Monitor::connection() {
  mSession.use(mPlan.peer);
  for (;;) {
    mSession.say("waiting for the terminal to connect in; Ctrl-C ends it", true);
    if (!switchOn(u"terminal")) return end(true);
    mConnected = {{std::int16_t{0}, "port " + std::to_string(mPlan.peer.port)}};
    if (answered()) break;
    mSession.warn(mSession.caller() + " but does not answer as " + mSession.terminal());
    mSession.control().WinSockClose(0);
  }
  watchConnections();
}

/// Why the terminal that connects in to this port could not be switched on is said.
void Monitor::switchOnMember(int port) {
  const std::u16string host = toUtf16("terminal-" + std::to_string(port));
  const std::string name = "port " + std::to_string(port);
  try {
    if (mSession.run([&](Cronvel& c) { return c.SetMonitoringOnGroup(host, true); })) {
      mConnected[mSession.control().sockets().upperBound()] = name;
      return;
    }
    if (keepIfConnected(name)) return;
    const CommandFailure failure = mSession.failure("monitoring was not switched on");
    problem(failure.status(), name + ": " + failure.what());
  } catch (const CommandFailure& failure) {
    if (failure.status() == ExitStatus::interrupted) return;
    problem(failure.status(), name + ": " + failure.what());
  }
}

/// Another terminal's event can come in front of its answer: then its own are waited for.
bool Monitor::keepIfConnected(const std::string& name) {
  SocketArray& sockets = mSession.control().sockets();
  const std::int16_t index = sockets.upperBound();
  if (mConnected.contains(index) || sockets.at(index).State() != sckConnected) return false;
  mConnected[index] = name;
  mAwaited[index] = SteadyClock::now() + answerLimit;
  return true;
}

void Monitor::lookForSilent() {
  std::erase_if(mAwaited, [&](const auto& member) {
    const auto& [index, limit] = member;
    if (mAnswered.contains(index)) return true;
    if (SteadyClock::now() < limit) return false;
    const std::string name = index == theLine ? mSession.terminal() : mConnected[index];
    problem(ExitStatus::noAnswer, name + " has not answered yet");
    return true;
  });
}

void Monitor::lookForLost() {
  SocketArray& sockets = mSession.control().sockets();
  std::erase_if(mConnected, [&](const auto& member) {
    const auto& [index, name] = member;
    if (sockets.at(index).State() == sckConnected) return false;
    problem(ExitStatus::noAnswer, name + ": the terminal has hung up");
    return true;
  });
}

void Monitor::group() {
  for (const int port : mPlan.group)
    if (!mSession.interrupted()) switchOnMember(port);
  if (mConnected.empty() && !mSession.interrupted())
    throw CommandFailure(mStatus, "no terminal could be switched on");
  watchConnections();
}

void Monitor::watchConnections() {
  startTime();
  listen([&] {
    lookForLost();
    lookForSilent();
    return mConnected.empty();
  });
  switchOff();
}

void Monitor::switchOff() {
  mEnding = true;
  const bool interrupted = mSession.interrupted();
  for (const std::int16_t index :
       mSession.finish([](Cronvel& c) { return c.switchConnectionsOff(); }))
    problem(ExitStatus::noAnswer,
            mConnected[index] + ": the terminal has not confirmed that its monitoring is off");
  end(interrupted);
}

void monitor(TerminalSession& session, const MonitorPlan& plan) {
  Monitor monitor(session, plan);
  if (!plan.group.empty()) return monitor.group();
  plan.peer.kind == Peer::Kind::line ? monitor.line() : monitor.connection();
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
