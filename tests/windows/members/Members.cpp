// Uses every member in one of three passes, with the control of this machine, or writes the script
// that does the same with the registered one: members-native native|script PASS PORT...
// The commands come from the tests' table. What the two print is the same.

#include <chrono>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>

#include "runtime/Text.h"
#include "tests/support/Commands.h"

namespace cronvel::test {
namespace {

using Host = std::u16string;

/// Who makes the calls. A value in a variable reaches the control as a reference to it, an
/// expression does not.
enum class Form { values, variables };
class Caller {
 public:
  virtual ~Caller() = default;
  /// Makes a call and prints what became of it.
  virtual void say(const Call& call, const Host& host = {}, Form form = Form::values) = 0;
  /// Waits for so many bytes from the terminal and prints them. "live event" hides its time.
  virtual void hear(const std::string& what, std::size_t count) = 0;
  virtual void forget() = 0;
  virtual void awaitState(std::int16_t wanted) = 0;
  virtual void sleep(int milliseconds) = 0;
};

class NativeCaller : public Caller, private __Cronvel {
 public:
  void say(const Call& call, const Host& host, Form) override {
    std::string became;
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
  void hear(const std::string& what, std::size_t count) override {
    waitFor(5000, [&] { return mHeard.size() >= count; });
    std::cout << what << ':';
    for (std::size_t i = 0; i < std::min(count, mHeard.size()); ++i) {
      const bool isTime = what == "live event" && (i == 5 || i == 6);
      std::cout << ' ' << (isTime ? "*" : std::to_string(mHeard[i]));
    }
    std::cout << std::endl;
    forget();
  }
  void forget() override { mHeard.clear(); }
  void awaitState(std::int16_t wanted) override {
    waitFor(5000, [&] { return mSocketState == wanted; });
    sleep(200);
  }
  void sleep(int milliseconds) override {
    waitFor(milliseconds, [] { return false; });
  }

 private:
  void WinSockCurrentState(std::int16_t state) override { mSocketState = state; }
  void WinSockDataReceived(Bytes& bytes, std::int32_t length, std::u16string&, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    mHeard.insert(mHeard.end(), bytes.begin(), bytes.begin() + length);
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t length) override {
    mHeard.insert(mHeard.end(), bytes.begin(), bytes.begin() + length);
  }
  void AddFileProgressInit(std::int32_t& n) override { mProgress += " of " + std::to_string(n); }
  void AddFileProgressInc(std::int32_t& n) override { mProgress += ' ' + std::to_string(n); }

  template <typename Condition>
  void waitFor(int milliseconds, Condition&& condition) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition() && steady_clock::now() < end) mPlatform->messagePump().waitEvents();
  }

  std::unique_ptr<Platform> mPlatform = Platform::create();
  Container mContainer;
  Cronvel mControl{*mPlatform, mContainer, *this};
  Bytes mHeard;
  std::optional<std::int16_t> mSocketState;
  std::string mProgress;
};

/// Writes what follows members.vbs.
class ScriptCaller : public Caller {
 public:
  void say(const Call& call, const Host& host, Form form) override {
    std::string arguments;
    const auto add = [&](const std::string& text) {
      arguments += (arguments.empty() ? "" : ", ") + text;
    };
    if (call.takesHost && form == Form::variables) std::cout << "host = " << literal(host) << "\n";
    if (call.takesHost) add(form == Form::variables ? "host" : literal(host));
    int number = 0;
    for (const Argument& argument : call.arguments)
      add(form == Form::values
              ? argument.literal
              : variable(argument, "v" + std::to_string(++number), host.empty() && call.takesHost));
    const std::string member = "control." + call.member;
    switch (call.kind) {
      case Call::Kind::procedure:
        std::cout << member << ' ' << arguments;
        break;
      case Call::Kind::put:
        std::cout << member << " = " << arguments;
        break;
      default:
        std::cout << "result = " << member << '(' << arguments << ')';
    }
    std::cout << " : Said \"" << call.name(" =") << "\"\n";
  }
  void hear(const std::string& what, std::size_t count) override {
    std::cout << "Hear \"" << what << "\", " << count << "\n";
  }
  void forget() override { std::cout << "heard = \"\"\n"; }
  void awaitState(std::int16_t wanted) override { std::cout << "AwaitState " << wanted << "\n"; }
  void sleep(int milliseconds) override { std::cout << "WScript.Sleep " << milliseconds << "\n"; }

 private:
  static std::string literal(const Host& host) { return Argument(host).literal; }
  /// A variable that holds it; for a list either as it is or an array of fixed size.
  std::string variable(const Argument& argument, const std::string& name, bool asItIs) {
    std::cout << name << " = " << argument.loose << "\n";
    if (argument.elements == 0 || asItIs) return name;
    const std::string array = "a" + std::to_string(++mArrays);
    const int last = argument.elements - 1;
    std::cout << "Dim " << array << '(' << last << ") : For i = 0 To " << last << " : " << array
              << "(i) = " << name << "(i) : Next\n";
    return array;
  }
  int mArrays = 0;
};

/// The commands that get their connection in one of these ways, but for those of monitoring. From
/// the last on: the downloads stand behind the command that erases what they fetch.
void walk(Caller& c, const Host& host, const std::set<Network>& ways,
          std::uint8_t secondDevice = 2) {
  for (const Form form : {Form::values, Form::variables}) {
    c.say(put(MEMBER(DeviceNum), form == Form::values ? std::uint8_t{1} : secondDevice));
    for (auto command = commands().rbegin(); command != commands().rend(); ++command) {
      if (command->monitoring == "-" || !ways.contains(command->network)) continue;
      c.say(command->call, host, form);
      if (command->result.wait == 0) c.sleep(1000);  // the terminal waits for its end
    }
  }
  c.say(put(MEMBER(DeviceNum), 1));
}

void failing(Caller& c, const Host& host) {
  for (const Failure& failure : failures()) c.say(failure.call, host);
  c.say(call(MEMBER(SetMainGroup), 100), host);
  c.say(put(MEMBER(DeviceNum), 160));
  c.say(call(MEMBER(SetKeyboard), 1), host);
  c.say(put(MEMBER(DeviceNum), 1));
}

void times(Caller& c, const Host& host) {
  for (const Variant& time :
       {Variant(u"10:20:30"), Variant(0.5), Variant(Time{38944.25}), Variant(u"nonsense")})
    for (const Form form : {Form::values, Form::variables})
      c.say(call(MEMBER(SetTime), time), host, form);
}

void monitoring(Caller& c, const Host& host) {
  c.forget();
  c.say(call(MEMBER(SetMonitoringOnOff), true), host);
  c.hear("live event", 9);
  for (int i = 0; i < 2; ++i) {
    c.say(call(MEMBER(SetMonitoringOnOff), false), host, Form::variables);
    if (!host.empty()) c.say(call(MEMBER(WinSockClose), 0));
  }
  c.say(get(MEMBER(MonitoringON)));
}

void serial(Caller& c, std::int16_t comPort) {
  c.say(call(MEMBER(Hangup)));
  for (const Property& property : properties()) {
    for (const Call& step : {property.get, property.put, property.get}) c.say(step);
    c.say(property.restore, {}, Form::variables);
    if (property.get.member == "CommPort") c.say(put(MEMBER(CommPort), comPort));
  }
  c.sleep(1000);
  times(c, {});
  monitoring(c, {});
  using enum Network;
  walk(c, {}, {none, connects, listens, awaits});
  failing(c, {});
  for (const bool DoCheck : {true, false})
    for (const auto* file : {u"all.Hex", u"missing.Hex"}) {
      c.say(call(MEMBER(CheckIntegrity), file, DoCheck), {},
            DoCheck ? Form::values : Form::variables);
      c.say(get(MEMBER(NumOfRecs)));
      c.say(get(MEMBER(DamagedRecs)));
    }
  c.say(put(MEMBER(DeviceNum), 3));
  c.say(call(MEMBER(TestConnection)));
  c.say(put(MEMBER(CommPort), 77));
  c.say(call(MEMBER(TestConnection)));
}

/// A conversation of the host's own on socket 0, once it is connected.
void talk(Caller& c) {
  c.awaitState(7);
  for (const Form form : {Form::values, Form::variables}) {
    c.say(call(MEMBER(WinSockSendData), 0, Bytes{1, 2, 18}), {}, form);
    c.hear("reply", 1);
    for (const std::uint8_t byte : Bytes{1, 2, 18})
      c.say(call(MEMBER(WinSockSendDataByte), 0, byte), {}, form);
    c.hear("reply", 1);
  }
  c.say(call(MEMBER(WinSockClose), 0), {}, Form::variables);
  c.awaitState(0);
}

void connecting(Caller& c, std::int32_t terminalPort) {
  const Host host = u"127.0.0.1";
  c.say(put(MEMBER(WinSockRemotePort), terminalPort));
  c.say(put(MEMBER(WinSockRemoteHost), host));
  c.say(put(MEMBER(WinSockLocalPort), 0));
  for (const Form form : {Form::values, Form::variables}) {
    c.say(call(MEMBER(SetWinSockUDPMode), 0), {}, form);
    c.say(call(MEMBER(WinSockConnect), 0), {}, form);
    talk(c);
    c.say(call(MEMBER(WinSockConnectToHost), 0, host), {}, form);
    talk(c);
  }
  c.say(call(MEMBER(WinSockSendDataByte), 0, 1));
  c.say(call(MEMBER(WinSockListen), 9));
  walk(c, host, {Network::connects});
  failing(c, host);
}

void listening(Caller& c, std::int32_t localPort, std::int32_t terminalPort) {
  const auto hostOf = [](std::int32_t port) { return toUtf16("terminal-" + std::to_string(port)); };
  c.say(put(MEMBER(WinSockLocalPort), localPort));
  for (const Form form : {Form::values, Form::variables}) {
    c.say(call(MEMBER(SetWinSockTCPMode), 0), {}, form);
    c.say(call(MEMBER(SetWinSockLocalPort), 0, localPort), {}, form);
    c.say(call(MEMBER(WinSockListen), 0), {}, form);
    talk(c);
  }
  c.say(call(MEMBER(WinSockListen), 0));
  c.say(call(MEMBER(WinSockListen), 0));
  c.say(call(MEMBER(WinSockClose), 0));

  times(c, hostOf(localPort));
  walk(c, hostOf(localPort), {Network::listens, Network::awaits}, 1);
  c.say(call(MEMBER(TestConnection)), u"terminal-port");
  monitoring(c, u"any");
  c.say(put(MEMBER(DeviceNum), 2));
  for (const Form form : {Form::values, Form::variables}) {
    c.say(call(MEMBER(SetMonitoringOnGroup), true), hostOf(localPort + 1), form);
    c.say(call(MEMBER(SetMonitoringOffGroup), false), u"all", form);
  }
  c.say(call(MEMBER(SetMonitoringOnGroup), true));
  c.say(put(MEMBER(WinSockRemotePort), terminalPort));
  c.say(put(MEMBER(WinSockRemoteHost), u"127.0.0.1"));
  c.say(put(MEMBER(WinSockLocalPort), 0));
  c.say(call(MEMBER(SetWinSockUDPMode), 0));
  c.say(call(MEMBER(StartMonitoringGroup)));
  c.sleep(500);
  c.say(call(MEMBER(WinSockClose), 0));
}

void pass(Caller& c, const std::vector<std::string>& arguments) {
  const int port = std::stoi(arguments.at(1));
  if (arguments[0] == "serial")
    serial(c, static_cast<std::int16_t>(port));
  else if (arguments[0] == "connecting")
    connecting(c, port);
  else
    listening(c, port, std::stoi(arguments.at(2)));
}

}  // namespace
}  // namespace cronvel::test

int main(int argc, char** argv) {
  using namespace cronvel::test;
  const std::vector<std::string> arguments(argv + 2, argv + argc);
  std::ofstream("cards.txt", std::ios::binary) << cardFile;
  if (std::string(argv[1]) == "native") {
    NativeCaller caller;
    pass(caller, arguments);
    std::cout << "end: Empty" << std::endl;
  } else {
    ScriptCaller caller;
    pass(caller, arguments);
    std::cout << "Said \"end\"\n";
  }
}
