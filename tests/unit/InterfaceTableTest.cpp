// docs/interface.md tells hosts what every member does. Its facts are taken from the control here,
// so that the table cannot go stale.

#include <cmath>
#include <functional>
#include <regex>
#include <set>

#include "runtime/File.h"
#include "tests/support/ControlTest.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {
namespace {

std::string readWhole(const std::string& name) {
  File file(std::string(CRONVEL_SOURCE) + "/" + name, File::Access::read);
  std::string text(1 << 20, '\0');
  text.resize(file.read({reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
  return text;
}

struct Member {
  const char* name;
  const char* returns;
  std::function<void(Cronvel&, const std::u16string& sRemoteHost)> call;
  enum { both, serialOnly, networkOnly } transports = both;
  std::function<void(Cronvel&)> before = {};
};

class InterfaceTableTest : public ControlTest {
 protected:
  std::u16string file() const { return (mFolder / "f.Hex").u16string(); }

  std::vector<Member> members() {
    const HostArray<std::u16string> names(std::vector<std::u16string>(8));
    const HostArray<bool> active(std::vector<bool>(8));
    const HostArray<std::uint8_t> bytes(Bytes(210));
    const auto accepted = "True when accepted";
    const auto sent = "True when sent";
    const auto reply = "reply byte";
    const auto whole = "0 whole, 1 not";
    using C = Cronvel&;
    using H = const std::u16string&;
    return {
        {"ReaderOn (set)", "nothing", [](C c, H) { c.ReaderOn(true); }, Member::serialOnly},
        {"MonitoringON (set)", "nothing", [](C c, H) { c.MonitoringON(true); }, Member::serialOnly},
        {"SetTime", accepted, [](C c, H h) { c.SetTime(h, 0.5); }},
        {"SetDate", accepted, [](C c, H h) { c.SetDate(h, u"01/02/03", 1); }},
        {"SetDayLight", accepted, [](C c, H h) { c.SetDayLight(h, 1, 2, 3, 4); }},
        {"ResetMem", accepted, [](C c, H h) { c.ResetMem(h); }},
        {"TestConnection", accepted, [](C c, H h) { c.TestConnection(h); }},
        {"SetKeyboard", accepted, [](C c, H h) { c.SetKeyboard(h, 1); }},
        {"SetReaderOnOff", accepted, [](C c, H h) { c.SetReaderOnOff(h, true); }},
        {"SetMainGroup", accepted, [](C c, H h) { c.SetMainGroup(h, 1); }},
        {"SetSubGroup", accepted, [](C c, H h) { c.SetSubGroup(h, 1); }},
        {"SetCode4", accepted, [](C c, H h) { c.SetCode4(h, u"1234"); }},
        {"SetCode10", accepted, [](C c, H h) { c.SetCode10(h, u"1234567890"); }},
        {"SendMsg", accepted, [](C c, H h) { c.SendMsg(h, u"1", u"hello"); }},
        {"SetMonitoringOnOff", sent, [](C c, H h) { c.SetMonitoringOnOff(h, true); }},
        {"SetMonitoringOnGroup", accepted, [](C c, H h) { c.SetMonitoringOnGroup(h, true); },
         Member::networkOnly},
        {"GetDeviceProperties", "101 bytes", [](C c, H h) { c.GetDeviceProperties(h); }},
        {"SetAlarm", "nothing", [bytes](C c, H) { c.SetAlarm(bytes); }, Member::serialOnly},
        {"AddCardSimple", reply, [](C c, H h) { c.AddCardSimple(h, u"1"); }},
        {"DeleteCardSimple", reply, [](C c, H h) { c.DeleteCardSimple(h, u"1"); }},
        {"DeleteCardAll", reply, [](C c, H h) { c.DeleteCardAll(h); }},
        {"AddCardFile", reply, [this](C c, H h) { c.AddCardFile(h, cards()); }},
        {"SetMode", accepted, [](C c, H h) { c.SetMode(h, 1); }},
        {"SendModeStr", accepted, [names](C c, H h) { c.SendModeStr(h, names); }},
        {"SendModeActive", accepted, [active](C c, H h) { c.SendModeActive(h, active); }},
        {"SetPersonAccessable", accepted, [](C c, H h) { c.SetPersonAccessable(h, true); }},
        {"DefCards", accepted, [bytes](C c, H h) { c.DefCards(h, bytes); }},
        {"DefAlarms", accepted, [bytes](C c, H h) { c.DefAlarms(h, bytes); }},
        {"GetData", whole, [this](C c, H h) { c.GetData(h, file()); }},
        {"GetDataBuff", whole, [this](C c, H) { c.GetDataBuff(file()); }, Member::serialOnly},
        {"GetDataByDate", whole,
         [this](C c, H h) { c.GetDataByDate(h, 1, 1, 7, 2, 1, 7, file()); }},
    };
  }

  std::u16string cards() {
    mFolder.write("cards", "");
    return (mFolder / "cards").u16string();
  }

  /// What one run of a command showed.
  struct Run {
    std::string transcript;
    double wait = 0;  ///< seconds beyond the pauses
    bool monitoring = false;
  };

  Run run(const Member& member, const std::u16string& host, bool answered) {
    platform.terminal.startAnew();
    // The members that set MonitoringON themselves show nothing about its end.
    monitoringOn();
    const int last = platform.sockets->upperBound();
    if (platform.sockets->at(0).State() != sckClosed) platform.sockets->at(0).Close();
    transcript().take();
    for (const double at : {0.0, 0.001})
      platform.time.after(at, [this, last] {
        for (const int i : {0, last + 1})
          if (platform.sockets->exists(static_cast<std::int16_t>(i)))
            platform.sockets->connectIn(static_cast<std::int16_t>(i));
      });
    if (answered) answerWhenAsked();
    const double start = platform.time.elapsed();
    member.call(*control, host);
    Run result{transcript().take(), platform.time.elapsed() - start, control->MonitoringON()};
    const std::regex sleep("sleep (\\d+)");
    for (std::sregex_iterator i(result.transcript.begin(), result.transcript.end(), sleep), end;
         i != end; ++i)
      result.wait -= std::stoi((*i)[1]) / 1000.0;
    mAnswering = false;
    return result;
  }

  /// A reply for every wait: whoever waits for one gets it.
  void answerWhenAsked() {
    mAnswering = true;
    platform.time.after(0, [this] { answer(); });
  }
  void answer() {
    if (!mAnswering) return;
    if (platform.port->PortOpen()) platform.port->feed({24});
    if (platform.sockets->at(0).State() == sckConnected) platform.sockets->feed(0, {24});
    platform.time.after(20, [this] { answer(); });
  }

  static std::string codeIn(const std::string& transcript) {
    const std::regex code("(?:out|send) 02; sleep 50; (?:out|send) (\\w\\w)");
    std::smatch found;
    if (!std::regex_search(transcript, found, code)) return "?";
    return std::to_string(std::stoi(found[1], nullptr, 16));
  }

  static std::string seconds(double wait) {
    const long whole = std::lround(wait);
    return whole == 0 ? "none" : std::to_string(whole) + " s";
  }

  static std::string networkIn(const std::string& transcript) {
    return transcript.starts_with("connect") ? "connects" : "listens";
  }

  std::string rowOf(const Member& member) {
    const std::u16string serial;
    const std::u16string host = u"gate-5000";
    std::string transports;
    std::string wait;
    std::string code;
    std::string monitoring = "-";
    if (member.transports != Member::networkOnly) {
      const Run silent = run(member, serial, false);
      const Run answered = run(member, serial, true);
      transports = "serial";
      code = codeIn(silent.transcript);
      wait = seconds(silent.wait);
      if (std::string(member.name).find("onitoring") == std::string::npos)
        monitoring = silent.monitoring && answered.monitoring ? "kept"
                     : silent.monitoring                      ? "off after a serial reply"
                                                              : "off";
    }
    if (member.transports != Member::serialOnly) {
      const Run silent = run(member, host, false);
      transports += (transports.empty() ? "" : ", ") + networkIn(silent.transcript);
      code = codeIn(silent.transcript);
      const std::string networkWait = seconds(silent.wait);
      if (wait.empty()) wait = networkWait;
      if (networkWait != wait) wait += ", network " + networkWait;
    }
    return "| `" + std::string(member.name) + "` | " + transports + " | " + code + " | " + wait +
           " | " + member.returns + " | " + monitoring + " |";
  }

  TestFolder mFolder;
  bool mAnswering = false;
};

TEST_F(InterfaceTableTest, EveryCommandsRowIsWhatTheControlDoes) {
  const std::string table = readWhole("docs/interface.md");
  for (const Member& member : members()) {
    const std::string row = rowOf(member);
    EXPECT_TRUE(table.find(row + "\n") != std::string::npos) << "docs/interface.md needs:\n" << row;
  }
}

TEST_F(InterfaceTableTest, EveryMemberAndEventIsInTheTable) {
  const std::string table = readWhole("docs/interface.md");
  const std::regex member(" ([A-Z]\\w+)\\([^;{]*\\)(?: const)?(?:;| \\{)");
  for (const char* header :
       {"control/Cronvel.h", "link/ModemDialup.h", "link/SocketMembers.h", "protocol/CardList.h",
        "protocol/ClockCommands.h", "protocol/DeviceProperties.h", "protocol/DeviceTables.h",
        "protocol/ModeCommands.h", "protocol/Monitoring.h", "protocol/ReaderCommands.h",
        "records/RecordCheck.h", "records/RecordDownload.h", "host/CronvelEvents.h"}) {
    std::string text = readWhole(header);
    text = text.substr(0, std::min(text.find(" private:"), text.find(" protected:")));
    std::set<std::string> names;
    for (std::sregex_iterator i(text.begin(), text.end(), member), end; i != end; ++i)
      names.insert((*i)[1]);
    EXPECT_GT(names.size(), 0U) << header;
    names.erase("Cronvel");
    for (const std::string& name : names)
      EXPECT_TRUE(table.find("`" + name + "`") != std::string::npos ||
                  table.find("`" + name + " (set)`") != std::string::npos)
          << "docs/interface.md lacks " << name;
  }
}

}  // namespace
}  // namespace cronvel::test
