// Calls through the simulated modem, whose lines the `modemlines` library shows to the port.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <nlohmann/json.hpp>
#include <sstream>

#include "control/Cronvel.h"
#include "platform/TracingPlatform.h"
#include "runtime/Text.h"
#include "tests/support/SimulatedTerminal.h"

namespace cronvel::test {
namespace {

/// Answers the message boxes itself, writes them down and keeps the transcript.
class BoxingPlatform : public TracingPlatform, private MsgBox {
 public:
  explicit BoxingPlatform(Platform& inner)
      : TracingPlatform(inner, [this](std::string_view line) { trace.emplace_back(line); }) {}
  MsgBox& msgBox() override { return *this; }

  std::vector<std::string> titles;
  std::deque<bool> yes;
  std::vector<std::string> trace;

 private:
  Answer show(const std::u16string&, Buttons buttons, const std::u16string& title) override {
    titles.push_back(toUtf8(title));
    if (buttons == Buttons::ok) return Answer::ok;
    const bool again = !yes.empty() && yes.front();
    if (!yes.empty()) yes.pop_front();
    return again ? Answer::yes : Answer::no;
  }
};

class ModemTest : public testing::Test {
 protected:
  ModemTest() {
    setenv("CRONVEL_TEST_MODEM_LINES", mFolder.path("lines").c_str(), 1);
    mControl.TelNum(u"02155501");
    mControl.BPS(u"4800");
  }
  ~ModemTest() override { unsetenv("CRONVEL_TEST_MODEM_LINES"); }

  std::string options(const std::string& more) const {
    return "--modem --modem-delay 200 --modem-lines " + mFolder.path("lines") + " --json " +
           mFolder.path("journal") + " " + more;
  }
  void use(const SimulatedTerminal& terminal) {
    mPlatform->mapCommPort(1, terminal.announced("modem line: "));
  }
  std::vector<nlohmann::json> journal(const std::string& event) const {
    std::vector<nlohmann::json> events;
    std::istringstream lines(mFolder.read("journal"));
    for (std::string line; std::getline(lines, line);) {
      if (lines.eof()) break;  // still being written
      auto parsed = nlohmann::json::parse(line);
      if (parsed["event"] == event) events.push_back(std::move(parsed));
    }
    return events;
  }
  std::vector<std::string> boxes() { return std::exchange(mBoxing.titles, {}); }

  const std::string mConnected = "ارتباط", mBusy = "اشغال خط", mNoCall = "ارتباط مودم";
  TestFolder mFolder;
  std::unique_ptr<Platform> mPlatform = Platform::create();
  BoxingPlatform mBoxing{*mPlatform};
  Container mContainer;
  __Cronvel mEvents;
  Cronvel mControl{mBoxing, mContainer, mEvents};
};

TEST_F(ModemTest, ACallFromEndToEnd) {
  const SimulatedTerminal terminal(options("--terminals 1,2 --cards 5 --days 7"));
  use(terminal);
  ASSERT_EQ(mControl.Dial(), 0);
  EXPECT_EQ(journal("dial").at(0)["number"], "02155501");
  mControl.DeviceNum(2);
  EXPECT_TRUE(mControl.TestConnection(u""));
  EXPECT_TRUE(mControl.SetKeyboard(u"", 5));
  EXPECT_EQ(mControl.GetData(u"", toUtf16(mFolder.path("all.Hex"))), 0);
  EXPECT_GT(mControl.NumOfRecs(), 0);
  EXPECT_EQ(mControl.GetDataBuff(toUtf16(mFolder.path("again.Hex"))), Variant(std::int16_t{0}));
  EXPECT_EQ(mFolder.read("again.Hex"), mFolder.read("all.Hex"));
  EXPECT_EQ(journal("state").back()["keypad"], 5);
  EXPECT_EQ(std::count_if(mBoxing.trace.begin(), mBoxing.trace.end(),
                          [](const std::string& l) { return l.find("settings") != l.npos; }),
            1);  // the dialling's own

  EXPECT_TRUE(mControl.Hangup());
  EXPECT_TRUE(waitUntil([&] { return journal("dtr-fell").size() == 1; }));
  EXPECT_TRUE(waitUntil([&] { return journal("hang-up").size() == 1; }));
  EXPECT_EQ(mFolder.read("lines").at(0), 0);
  EXPECT_FALSE(mControl.Hangup());
  EXPECT_EQ(boxes(), (std::vector{mConnected, mConnected}));

  ASSERT_EQ(mControl.Dial(), 0);
  EXPECT_TRUE(mControl.TestConnection(u""));
  EXPECT_TRUE(mControl.Hangup());
}

TEST_F(ModemTest, WithoutTheCarrierACommandSaysSoAndTouchesNothing) {
  const SimulatedTerminal terminal(options("--carrier-loss 1"));
  use(terminal);
  ASSERT_EQ(mControl.Dial(), 0);
  ASSERT_TRUE(waitUntil([&] { return journal("hang-up").size() == 1; }));
  boxes();
  const std::size_t bytes = journal("byte").size();
  EXPECT_FALSE(mControl.TestConnection(u""));
  EXPECT_EQ(mControl.GetDataBuff(toUtf16(mFolder.path("none.Hex"))), Variant());
  EXPECT_EQ(boxes(), (std::vector{mNoCall, mNoCall}));
  EXPECT_EQ(journal("byte").size(), bytes);
  EXPECT_FALSE(mFolder.has("none.Hex"));
  EXPECT_TRUE(mControl.Hangup());  // the port is still open
}

TEST_F(ModemTest, ABusyLineIsDialledAgainOrGivenUp) {
  const SimulatedTerminal terminal(options("--modem-pieces --modem-answer busy,busy,busy,connect"));
  use(terminal);
  EXPECT_EQ(mControl.Dial(), 2);
  EXPECT_FALSE(mControl.Hangup());  // the port is closed
  EXPECT_EQ(boxes(), std::vector{mBusy});
  mBoxing.yes = {true, true};
  EXPECT_EQ(mControl.Dial(), 0);
  EXPECT_EQ(boxes(), (std::vector{mBusy, mBusy, mConnected}));
  EXPECT_EQ(journal("dial").size(), 4U);
  EXPECT_TRUE(mControl.TestConnection(u""));
}

}  // namespace
}  // namespace cronvel::test
