// Uses every member in one of three passes, with the control of this machine, or writes the script
// that does the same with the registered one: members-native native|script PASS PORT
// The commands come from the tests' table. What the two print is the same.

#include <chrono>
#include <fstream>
#include <iostream>
#include <set>

#include "runtime/Text.h"
#include "tests/support/Commands.h"

namespace cronvel::test {
namespace {

using Host = std::u16string;

/// Who makes the calls.
class Caller {
 public:
  virtual ~Caller() = default;
  /// Makes a call and prints what became of it.
  virtual void say(const Call& call, const Host& host = {}) = 0;
  /// Prints whether this event of the last call's comes: "state 7" of socket 0, "byte 237" from the
  /// terminal.
  virtual void await(const std::string& event) = 0;
  virtual void sleep(int milliseconds) = 0;
};

class NativeCaller : public Caller, private __Cronvel {
 public:
  void say(const Call& call, const Host& host) override {
    std::string became;
    mEvents.clear();
    try {
      became = call.run(mControl, host);
    } catch (const RunTimeError& error) {
      const std::string text = error.what();
      // Behind a bracket stands what the machine calls things.
      became = "error " + std::to_string(static_cast<int>(error.number())) + ' ' +
               text.substr(0, text.find(" ("));
    }
    std::cout << call.name(" =") << std::exchange(mProgress, {}) << ": " << became << std::endl;
  }
  void await(const std::string& event) override {
    pump(20000, [&] { return mEvents.contains(event); });
    std::cout << event << ": " << described(mEvents.contains(event)) << std::endl;
  }
  void sleep(int milliseconds) override {
    pump(milliseconds, [] { return false; });
  }

 private:
  void WinSockCurrentState(std::int16_t state) override {
    mEvents.insert("state " + std::to_string(state));
  }
  void WinSockDataReceived(Bytes& bytes, std::int32_t, std::u16string&, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    for (const auto byte : bytes) mEvents.insert("byte " + std::to_string(byte));
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t&) override {
    for (const auto byte : bytes) mEvents.insert("byte " + std::to_string(byte));
  }
  void AddFileProgressInit(std::int32_t& n) override { mProgress += " of " + std::to_string(n); }
  void AddFileProgressInc(std::int32_t& n) override { mProgress += ' ' + std::to_string(n); }

  template <typename Condition>
  void pump(int milliseconds, Condition&& ended) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!ended() && steady_clock::now() < end) mPlatform->messagePump().waitEvents();
  }

  std::unique_ptr<Platform> mPlatform = Platform::create();
  Container mContainer;
  Cronvel mControl{*mPlatform, mContainer, *this};
  std::set<std::string> mEvents;
  std::string mProgress;
};

/// Writes what follows members.vbs.
class ScriptCaller : public Caller {
 public:
  void say(const Call& call, const Host& host) override {
    std::string arguments = call.takesHost ? Argument(host).literal : "";
    for (const Argument& argument : call.arguments)
      arguments += (arguments.empty() ? "" : ", ") + argument.literal;
    const std::string member = "control." + call.member;
    std::cout << "events = \"|\" : ";
    if (call.kind == Call::Kind::procedure)
      std::cout << member << ' ' << arguments;
    else if (call.kind == Call::Kind::put)
      std::cout << member << " = " << arguments;
    else
      std::cout << "result = " << member << '(' << arguments << ')';
    std::cout << " : Said \"" << call.name(" =") << "\"\n";
  }
  void await(const std::string& event) override { std::cout << "Await \"" << event << "\"\n"; }
  void sleep(int milliseconds) override { std::cout << "WScript.Sleep " << milliseconds << "\n"; }
};

/// The commands that get their connection in one of these ways, but for those of monitoring. From
/// the last on: the downloads stand behind the command that erases what they fetch.
void walk(Caller& c, const Host& host, const std::set<Network>& ways) {
  for (auto command = commands().rbegin(); command != commands().rend(); ++command) {
    if (command->monitoring == "-" || !ways.contains(command->network)) continue;
    c.say(command->call, host);
    if (command->result.wait == 0) c.sleep(1000);  // the terminal waits for its end
  }
}

void monitoring(Caller& c, const Host& host) {
  c.say(call(MEMBER(SetMonitoringOnOff), true), host);
  c.await("byte 237");                                      // the first of a live event
  if (!host.empty()) c.say(call(MEMBER(WinSockClose), 0));  // each switch has its own connection
  c.say(call(MEMBER(SetMonitoringOnOff), false), host);
}

void serial(Caller& c, std::int16_t comPort) {
  c.say(call(MEMBER(Hangup)));
  for (const Property& property : properties()) {
    for (const Call& step : {property.get, property.put, property.get, property.restore}) {
      c.say(step);
      // A switch waits for nothing; its last byte is to be seen before the next one's parity comes.
      if (step.kind == Call::Kind::put && !property.setInDesignMode) c.sleep(200);
    }
    if (property.get.member == "CommPort") c.say(put(MEMBER(CommPort), comPort));
  }
  c.sleep(1000);
  for (const Variant& time :
       {Variant(u"10:20:30"), Variant(0.5), Variant(Time{38944.25}), Variant(u"nonsense")})
    c.say(call(MEMBER(SetTime), time));
  monitoring(c, {});
  using enum Network;
  walk(c, {}, {none, connects, listens, awaits});
  for (const Failure& failure : failures()) c.say(failure.call);
  c.say(call(MEMBER(CheckIntegrity), u"all.Hex", true));
  c.say(get(MEMBER(NumOfRecs)));
  c.say(get(MEMBER(DamagedRecs)));
}

/// A conversation of the host's own on socket 0, once it is connected.
void talk(Caller& c) {
  c.await("state 7");
  c.say(call(MEMBER(WinSockSendData), 0, Bytes{1, 2, 18}));
  c.await("byte 24");
  for (const std::uint8_t byte : Bytes{1, 2, 18}) c.say(call(MEMBER(WinSockSendDataByte), 0, byte));
  c.await("byte 24");
  c.say(call(MEMBER(WinSockClose), 0));
  c.await("state 0");
}

void connecting(Caller& c, std::int32_t terminalPort) {
  const Host host = u"127.0.0.1";
  c.say(put(MEMBER(WinSockRemotePort), terminalPort));
  c.say(put(MEMBER(WinSockRemoteHost), host));
  c.say(put(MEMBER(WinSockLocalPort), 0));
  c.say(call(MEMBER(SetWinSockUDPMode), 0));
  c.say(call(MEMBER(WinSockConnect), 0));
  talk(c);
  c.say(call(MEMBER(WinSockConnectToHost), 0, host));
  talk(c);
  c.say(call(MEMBER(StartMonitoringGroup)));
  c.await("state 7");
  c.say(call(MEMBER(WinSockClose), 0));
  c.await("state 0");
  walk(c, host, {Network::connects});
}

void listening(Caller& c, std::int32_t localPort) {
  const auto hostOf = [](std::int32_t port) { return toUtf16("terminal-" + std::to_string(port)); };
  c.say(call(MEMBER(SetWinSockTCPMode), 0));
  c.say(call(MEMBER(SetWinSockLocalPort), 0, localPort));
  c.say(call(MEMBER(WinSockListen), 0));
  talk(c);
  walk(c, hostOf(localPort), {Network::listens, Network::awaits});
  monitoring(c, u"any");
  c.say(call(MEMBER(WinSockClose), 0));
  c.say(put(MEMBER(DeviceNum), 2));
  c.say(call(MEMBER(SetMonitoringOnGroup), true), hostOf(localPort + 1));
  c.say(call(MEMBER(SetMonitoringOffGroup), false), u"all");
}

void pass(Caller& c, const std::string& name, int port) {
  if (name == "serial")
    serial(c, static_cast<std::int16_t>(port));
  else if (name == "connecting")
    connecting(c, port);
  else
    listening(c, port);
}

}  // namespace
}  // namespace cronvel::test

int main(int argc, char** argv) {
  using namespace cronvel::test;
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  std::ofstream("cards.txt", std::ios::binary) << cardFile;
  if (arguments.at(0) == "native") {
    NativeCaller caller;
    pass(caller, arguments.at(1), std::stoi(arguments.at(2)));
    std::cout << "end: Empty" << std::endl;
  } else {
    ScriptCaller caller;
    pass(caller, arguments.at(1), std::stoi(arguments.at(2)));
    std::cout << "Said \"end\"\n";
  }
}
