// Does with the control of this machine what members.vbs does with the registered one, in the same
// order and with the same values, and prints the same lines.

#include <chrono>
#include <cmath>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "control/Cronvel.h"
#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace {

using namespace cronvel;

constexpr double timeOfDay(int hour, int minute, int second) {
  return (hour * 3600 + minute * 60 + second) / 86400.0;
}

HostArray<std::uint8_t> table(int count) {
  Bytes numbers;
  for (int i = 0; i < count; ++i) numbers.push_back(static_cast<std::uint8_t>(i * 7 % 60));
  return {numbers};
}

std::string described(bool value) { return value ? "Boolean True" : "Boolean False"; }
std::string described(std::uint8_t value) { return "Byte " + std::to_string(value); }
std::string described(std::int16_t value) { return "Integer " + std::to_string(value); }
std::string described(std::int32_t value) { return "Long " + std::to_string(value); }
std::string described(const std::u16string& value) { return "String " + toUtf8(value); }
std::string described(const Bytes& bytes) {
  std::string text = "0.." + std::to_string(std::ssize(bytes) - 1);
  for (const std::uint8_t byte : bytes) text += ' ' + std::to_string(byte);
  return text;
}
std::string described(const Variant& value) {
  if (const auto* bytes = std::get_if<Bytes>(&value)) return described(*bytes);
  if (const auto* number = std::get_if<std::int16_t>(&value)) return described(*number);
  return value.index() == 0 ? "Empty" : "unexpected";
}

class Members : public __Cronvel {
 public:
  void serial(std::int16_t comPort);
  void connecting(std::int32_t terminalPort);
  void listening(std::int32_t localPort, std::int32_t terminalPort);

  void WinSockCurrentState(std::int16_t state) override { mSocketState = state; }
  void WinSockDataReceived(Bytes& bytes, std::int32_t length, std::u16string&, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    hear(bytes, length);
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t length) override {
    hear(bytes, length);
  }
  void AddFileProgressInit(std::int32_t& count) override {
    mProgress += " of " + std::to_string(count);
  }
  void AddFileProgressInc(std::int32_t& count) override {
    mProgress += ' ' + std::to_string(count);
  }

 private:
  using Host = std::u16string;

  void properties(std::int16_t comPort);
  void shortCommands(const Host& host, int cardTables);
  void failing(const Host& host);
  void listeningCommands(const Host& host);
  void monitoring(const Host& host);

  /// Makes a call and prints what became of it.
  template <typename Call>
  void say(const std::string& what, Call&& call) {
    std::string became = "Empty";
    try {
      if constexpr (std::is_void_v<decltype(call())>)
        call();
      else
        became = described(call());
    } catch (const RunTimeError& error) {
      const std::string text = error.what();
      // Behind a bracket stands what the machine calls things.
      became = "error " + std::to_string(static_cast<int>(error.number())) + ' ' +
               text.substr(0, text.find(" ("));
    }
    std::cout << what << (what == "AddCardFile" ? mProgress : "") << ": " << became << std::endl;
    if (what == "AddCardFile") mProgress.clear();
  }

  void hear(const Bytes& bytes, std::int32_t length) {
    mHeard.insert(mHeard.end(), bytes.begin(), bytes.begin() + length);
  }
  void printHeard(const std::string& what, std::size_t count) {
    waitFor(5000, [&] { return mHeard.size() >= count; });
    std::cout << what << ':';
    for (std::size_t i = 0; i < mHeard.size(); ++i) {
      const bool timed = count == 9 && mHeard.size() == 9 && (i == 5 || i == 6);
      std::cout << ' ' << (timed ? "*" : std::to_string(mHeard[i]));
    }
    std::cout << std::endl;
    mHeard.clear();
  }
  void awaitState(std::int16_t wanted) {
    waitFor(5000, [&] { return mSocketState == wanted; });
    sleep(200);
  }
  void sleep(int milliseconds) {
    waitFor(milliseconds, [] { return false; });
  }
  void waitFor(int milliseconds, const std::function<bool()>& condition) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition() && steady_clock::now() < end) mPlatform->messagePump().waitEvents();
  }

  std::unique_ptr<Platform> mPlatform = Platform::create();
  Container mContainer;
  Cronvel control{*mPlatform, mContainer, *this};  // named as in the script
  Bytes mHeard;
  std::optional<std::int16_t> mSocketState;
  std::string mProgress;
};

void Members::properties(std::int16_t comPort) {
  say("Enabled", [&] { return control.Enabled(); });
  say("Enabled =", [&] { control.Enabled(false); });
  say("Enabled", [&] { return control.Enabled(); });
  say("Enabled =", [&] { control.Enabled(true); });
  say("CommPort", [&] { return control.CommPort(); });
  say("CommPort =", [&] { control.CommPort(0); });
  say("CommPort =", [&] { control.CommPort(comPort); });
  say("IdLen", [&] { return control.IdLen(); });
  say("IdLen =", [&] { control.IdLen(6); });
  say("IdLen =", [&] { control.IdLen(7); });
  say("IdLen", [&] { return control.IdLen(); });
  say("IdLen =", [&] { control.IdLen(4); });
  say("DialupConnection", [&] { return control.DialupConnection(); });
  say("DialupConnection =", [&] { control.DialupConnection(true); });
  say("DialupConnection", [&] { return control.DialupConnection(); });
  say("DialupConnection =", [&] { control.DialupConnection(false); });
  say("TelNum", [&] { return control.TelNum(); });
  say("TelNum =", [&] { control.TelNum(u"02188۱۲"); });
  say("TelNum", [&] { return control.TelNum(); });
  say("TelNum =", [&] { control.TelNum(u"0"); });
  say("BPS", [&] { return control.BPS(); });
  say("BPS =", [&] { control.BPS(u"19200"); });
  say("BPS", [&] { return control.BPS(); });
  say("BPS =", [&] { control.BPS(u"9600"); });
  say("DeviceNum", [&] { return control.DeviceNum(); });
  say("DeviceNum =", [&] { control.DeviceNum(159); });
  say("DeviceNum", [&] { return control.DeviceNum(); });
  say("DeviceNum =", [&] { control.DeviceNum(1); });
  say("NumOfRecs", [&] { return control.NumOfRecs(); });
  say("NumOfRecs =", [&] { control.NumOfRecs(70000); });
  say("NumOfRecs", [&] { return control.NumOfRecs(); });
  say("NumOfRecs =", [&] { control.NumOfRecs(-1); });
  say("DamagedRecs", [&] { return control.DamagedRecs(); });
  say("DamagedRecs =", [&] { control.DamagedRecs(70001); });
  say("DamagedRecs", [&] { return control.DamagedRecs(); });
  say("DamagedRecs =", [&] { control.DamagedRecs(-1); });
  say("WinSockProtocol", [&] { return control.WinSockProtocol(); });
  say("WinSockProtocol =", [&] { control.WinSockProtocol(1); });
  say("WinSockProtocol", [&] { return control.WinSockProtocol(); });
  say("WinSockProtocol =", [&] { control.WinSockProtocol(0); });
  say("WinSockLocalPort", [&] { return control.WinSockLocalPort(); });
  say("WinSockLocalPort =", [&] { control.WinSockLocalPort(65535); });
  say("WinSockLocalPort", [&] { return control.WinSockLocalPort(); });
  say("WinSockLocalPort =", [&] { control.WinSockLocalPort(0); });
  say("WinSockRemotePort", [&] { return control.WinSockRemotePort(); });
  say("WinSockRemotePort =", [&] { control.WinSockRemotePort(65534); });
  say("WinSockRemotePort", [&] { return control.WinSockRemotePort(); });
  say("WinSockRemotePort =", [&] { control.WinSockRemotePort(0); });
  say("WinSockRemoteHost", [&] { return control.WinSockRemoteHost(); });
  say("WinSockRemoteHost =", [&] { control.WinSockRemoteHost(u"127.0.0.2"); });
  say("WinSockRemoteHost", [&] { return control.WinSockRemoteHost(); });
  say("WinSockRemoteHost =", [&] { control.WinSockRemoteHost(u"127.0.0.1"); });
  say("ReaderOn", [&] { return control.ReaderOn(); });
  say("ReaderOn =", [&] { control.ReaderOn(true); });
  say("ReaderOn", [&] { return control.ReaderOn(); });
  say("ReaderOn =", [&] { control.ReaderOn(false); });
  say("MonitoringON", [&] { return control.MonitoringON(); });
  say("MonitoringON =", [&] { control.MonitoringON(true); });
  say("MonitoringON", [&] { return control.MonitoringON(); });
  say("MonitoringON =", [&] { control.MonitoringON(false); });
}

void Members::shortCommands(const Host& host, int cardTables) {
  say("SetDate", [&] { return control.SetDate(host, u"15/08/06", 3); });
  say("SetDayLight", [&] { return control.SetDayLight(host, 21, 3, 22, 9); });
  say("SetKeyboard", [&] { return control.SetKeyboard(host, 5); });
  say("SetReaderOnOff", [&] { return control.SetReaderOnOff(host, true); });
  say("SetMainGroup", [&] { return control.SetMainGroup(host, 42); });
  say("SetSubGroup", [&] { return control.SetSubGroup(host, 7); });
  say("SetCode4", [&] { return control.SetCode4(host, u"1234"); });
  say("SetCode10", [&] { return control.SetCode10(host, u"12345@"); });
  say("SendMsg", [&] { return control.SendMsg(host, u"1234", u"سلام 12"); });
  say("AddCardSimple", [&] { return control.AddCardSimple(host, u"1234"); });
  say("DeleteCardSimple", [&] { return control.DeleteCardSimple(host, u"1234"); });
  say("AddCardFile", [&] { return control.AddCardFile(host, u"cards.txt"); });
  say("DeleteCardAll", [&] { return control.DeleteCardAll(host); });
  say("SetMode", [&] { return control.SetMode(host, 3); });
  say("SendModeStr", [&] {
    return control.SendModeStr(
        host, {u"ورود", u"خروج", u"", u"abc", u"۱۲۳", u"5", u"6", u"longer than sixteen"});
  });
  say("SendModeActive", [&] {
    return control.SendModeActive(host, {true, false, true, false, true, false, true, false});
  });
  say("SetPersonAccessable", [&] { return control.SetPersonAccessable(host, true); });
  for (int i = 0; i < cardTables; ++i)
    say("DefCards", [&] { return control.DefCards(host, {1, 2, 34, 56, 78, 99}); });
}

void Members::failing(const Host& host) {
  say("SetMainGroup", [&] { return control.SetMainGroup(host, 100); });
  say("SetDayLight", [&] { return control.SetDayLight(host, 21, 160, 22, 9); });
  say("SendMsg", [&] { return control.SendMsg(host, u"70000", u""); });
  say("AddCardSimple", [&] { return control.AddCardSimple(host, u"16000"); });
  say("AddCardFile", [&] { return control.AddCardFile(host, u"missing.txt"); });
  say("SendModeStr", [&] { return control.SendModeStr(host, {u"1", u"2"}); });
  say("DefCards", [&] { return control.DefCards(host, {1, 2, 160}); });
  control.DeviceNum(160);
  say("SetKeyboard", [&] { return control.SetKeyboard(host, 1); });
  control.DeviceNum(1);
}

void Members::listeningCommands(const Host& host) {
  const std::vector<Variant> times = {u"10:20:30", Time{timeOfDay(10, 20, 31)},
                                      0.5,         Time{38944 + timeOfDay(10, 20, 32)},
                                      u"10:20:33", u"nonsense"};
  for (const Variant& time : times) say("SetTime", [&] { return control.SetTime(host, time); });
  say("TestConnection", [&] { return control.TestConnection(host); });
  say("TestConnection", [&] { return control.TestConnection(host); });
  say("GetDeviceProperties", [&] { return control.GetDeviceProperties(host); });
  say("GetDeviceProperties", [&] { return control.GetDeviceProperties(host); });
}

void Members::monitoring(const Host& host) {
  mHeard.clear();
  say("SetMonitoringOnOff", [&] { return control.SetMonitoringOnOff(host, true); });
  printHeard("live event", 9);
  if (!host.empty()) {
    say("SetMonitoringOnOff", [&] { return control.SetMonitoringOnOff(host, false); });
    control.WinSockClose(0);
  }
  say("SetMonitoringOnOff", [&] { return control.SetMonitoringOnOff(host, false); });
  say("MonitoringON", [&] { return control.MonitoringON(); });
}

void Members::serial(std::int16_t comPort) {
  say("Hangup", [&] { return control.Hangup(); });
  properties(comPort);
  sleep(1000);
  listeningCommands(u"");
  monitoring(u"");
  shortCommands(u"", 1);
  control.DeviceNum(2);
  shortCommands(u"", 2);
  control.DeviceNum(1);
  failing(u"");

  for (int i = 0; i < 3; ++i) {
    say("SetAlarm", [&] { return control.SetAlarm(table(72)); });
    sleep(1000);
  }
  say("DefAlarms", [&] { return control.DefAlarms(u"", table(210)); });

  say("GetData", [&] { return control.GetData(u"", u"all.Hex"); });
  say("NumOfRecs", [&] { return control.NumOfRecs(); });
  say("GetDataBuff", [&] { return control.GetDataBuff(u"buffered.Hex"); });
  say("GetDataBuff", [&] { return control.GetDataBuff(u"buffered.Hex"); });
  say("GetDataByDate",
      [&] { return control.GetDataByDate(u"", 1, 3, 26, 2, 3, 26, u"dated.Hex"); });
  say("NumOfRecs", [&] { return control.NumOfRecs(); });
  say("CheckIntegrity", [&] { return control.CheckIntegrity(u"all.Hex", true); });
  say("CheckIntegrity", [&] { return control.CheckIntegrity(u"all.Hex", false); });
  say("CheckIntegrity", [&] { return control.CheckIntegrity(u"missing.Hex", false); });
  say("DamagedRecs", [&] { return control.DamagedRecs(); });

  say("ResetMem", [&] { return control.ResetMem(u""); });
  say("ResetMem", [&] { return control.ResetMem(u""); });
  control.DeviceNum(3);
  say("TestConnection", [&] { return control.TestConnection(u""); });
  say("CommPort =", [&] { control.CommPort(77); });
  say("TestConnection", [&] { return control.TestConnection(u""); });
}

void Members::connecting(std::int32_t terminalPort) {
  const Host host = u"127.0.0.1";
  say("WinSockRemotePort =", [&] { control.WinSockRemotePort(terminalPort); });
  say("WinSockRemoteHost =", [&] { control.WinSockRemoteHost(host); });
  say("WinSockLocalPort =", [&] { control.WinSockLocalPort(0); });
  say("SetWinSockUDPMode", [&] { control.SetWinSockUDPMode(0); });
  say("SetWinSockUDPMode", [&] { control.SetWinSockUDPMode(0); });

  say("WinSockConnect", [&] { control.WinSockConnect(0); });
  awaitState(7);
  say("WinSockSendData", [&] { control.WinSockSendData(0, {1, 2, 18}); });
  printHeard("reply", 1);
  say("WinSockSendData", [&] { control.WinSockSendData(0, {1, 2, 18}); });
  printHeard("reply", 1);
  say("WinSockListen", [&] { control.WinSockListen(0); });
  say("WinSockClose", [&] { control.WinSockClose(0); });
  awaitState(0);
  say("WinSockConnect", [&] { control.WinSockConnect(0); });
  awaitState(7);
  for (const std::uint8_t byte : Bytes{1, 2, 18})
    say("WinSockSendDataByte", [&] { control.WinSockSendDataByte(0, byte); });
  printHeard("reply", 1);
  say("WinSockClose", [&] { control.WinSockClose(0); });
  awaitState(0);
  say("WinSockConnectToHost", [&] { control.WinSockConnectToHost(0, host); });
  awaitState(7);
  say("WinSockConnectToHost", [&] { control.WinSockConnectToHost(0, host); });
  sleep(500);
  say("WinSockClose", [&] { control.WinSockClose(0); });
  say("WinSockSendDataByte", [&] { control.WinSockSendDataByte(0, 1); });
  say("WinSockListen", [&] { control.WinSockListen(9); });

  shortCommands(host, 1);
  control.DeviceNum(2);
  shortCommands(host, 2);
  control.DeviceNum(1);
  failing(host);
  say("DefAlarms", [&] { return control.DefAlarms(host, table(210)); });
  say("GetDataByDate",
      [&] { return control.GetDataByDate(host, 1, 3, 26, 2, 3, 26, u"dated.Hex"); });
  say("ResetMem", [&] { return control.ResetMem(host); });
  say("ResetMem", [&] { return control.ResetMem(host); });
}

void Members::listening(std::int32_t localPort, std::int32_t terminalPort) {
  const auto hostOf = [](std::int32_t port) { return toUtf16("terminal-" + std::to_string(port)); };
  say("WinSockLocalPort =", [&] { control.WinSockLocalPort(localPort); });
  say("SetWinSockTCPMode", [&] { control.SetWinSockTCPMode(0); });
  say("SetWinSockTCPMode", [&] { control.SetWinSockTCPMode(0); });
  say("SetWinSockLocalPort", [&] { control.SetWinSockLocalPort(0, localPort); });
  say("SetWinSockLocalPort", [&] { control.SetWinSockLocalPort(0, localPort); });
  say("WinSockListen", [&] { control.WinSockListen(0); });
  awaitState(7);
  say("WinSockSendData", [&] { control.WinSockSendData(0, {1, 2, 18}); });
  printHeard("reply", 1);
  say("WinSockClose", [&] { control.WinSockClose(0); });
  awaitState(0);
  say("WinSockListen", [&] { control.WinSockListen(0); });
  say("WinSockListen", [&] { control.WinSockListen(0); });
  say("WinSockClose", [&] { control.WinSockClose(0); });

  listeningCommands(hostOf(localPort));
  say("TestConnection", [&] { return control.TestConnection(u"terminal-port"); });
  say("SetWinSockTCPMode", [&] { control.SetWinSockTCPMode(0); });
  monitoring(u"any");
  say("GetData", [&] { return control.GetData(u"any", u"listened.Hex"); });
  say("GetData", [&] { return control.GetData(u"any", u"listened.Hex"); });

  control.DeviceNum(2);
  for (int i = 0; i < 2; ++i) {
    const Host host = hostOf(localPort + 1);
    say("SetMonitoringOnGroup", [&] { return control.SetMonitoringOnGroup(host, true); });
    say("SetMonitoringOffGroup", [&] { return control.SetMonitoringOffGroup(host, false); });
  }
  say("SetMonitoringOnGroup", [&] { return control.SetMonitoringOnGroup(u"", true); });
  control.WinSockRemotePort(terminalPort);
  control.WinSockRemoteHost(u"127.0.0.1");
  control.WinSockLocalPort(0);
  say("SetWinSockUDPMode", [&] { control.SetWinSockUDPMode(0); });
  say("StartMonitoringGroup", [&] { return control.StartMonitoringGroup(); });
  sleep(500);
  say("WinSockClose", [&] { control.WinSockClose(0); });
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  Members members;
  if (arguments.size() == 2 && arguments[0] == "serial")
    members.serial(static_cast<std::int16_t>(std::stoi(arguments[1])));
  else if (arguments.size() == 2 && arguments[0] == "connecting")
    members.connecting(std::stoi(arguments[1]));
  else if (arguments.size() == 3 && arguments[0] == "listening")
    members.listening(std::stoi(arguments[1]), std::stoi(arguments[2]));
  else
    return 2;
  std::cout << "end: Empty" << std::endl;
}
