// What only real connections show.

#include <map>

#include "tests/support/SystemTest.h"

namespace cronvel::test {
namespace {

using ConversationTest = SystemTest;

TEST_F(ConversationTest, AHostThatHangsUpEndsTheWaitWithoutHarm) {
  const SimulatedTerminal dropping("--listen 0 --drop");
  connectTo(dropping);
  EXPECT_FALSE(mHasty.SetKeyboard(u"127.0.0.1", 1));
  const SimulatedTerminal answering("--listen 0");
  connectTo(answering);
  EXPECT_TRUE(mHasty.SetKeyboard(u"127.0.0.1", 1));
}

TEST_F(ConversationTest, ConnectionsInARowNeverMeetAnAddressInUse) {
  const std::string port = std::to_string(freePort());
  const SimulatedTerminal terminal("--listen 0 --delay 100 --connect 127.0.0.1:" + port);
  connectTo(terminal);
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(mHasty.SetKeyboard(u"127.0.0.1", 1)) << i;
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(mHasty.TestConnection(u"gate-" + toUtf16(port))) << i;
}

TEST_F(ConversationTest, ALongStreamOverTheNetworkIsWhole) {
  const int port = freePort();
  const SimulatedTerminal terminal("--listen 0 --connect 127.0.0.1:" + std::to_string(port) +
                                   " --cards 300 --days 90 --network-speed 1000000" +
                                   journalOption());
  connectTo(terminal);
  EXPECT_EQ(mHasty.GetDataByDate(u"127.0.0.1", 1, 1, 26, 31, 12, 26, file("dates.Hex")), 0);
  mHasty.SetWinSockLocalPort(0, port);
  EXPECT_EQ(mHasty.GetData(u"terminal", file("all.Hex")), 0);
  EXPECT_GT(mHasty.NumOfRecs(), 30'000);
  EXPECT_EQ(mFolder.read("all.Hex"), mFolder.read("dates.Hex"));
  for (const auto& stream : journal("stream-end"))
    EXPECT_EQ(stream["bytes"], mFolder.read("all.Hex").size());
}

/// What monitored terminals sent, as the host hears it: each event is 8 bytes, the second the
/// terminal's address, the last two a running number. A reply can stand before it.
class Listener : public __Cronvel {
 public:
  void WinSockDataReceived(Bytes& bytes, std::int32_t, std::u16string&, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    mBytes.clear();  // another terminal's; on its own connection an event comes in one piece
    take(bytes);
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t) override { take(bytes); }
  /// The running numbers of each terminal, in the order of their arrival.
  std::map<int, std::vector<int>> numbers;

 private:
  void take(const Bytes& bytes) {
    mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
    while (!mBytes.empty() && (mBytes.front() != 0xED || mBytes.size() >= 8)) {
      if (mBytes.front() == 0xED) numbers[mBytes[1]].push_back(mBytes[6] * 256 + mBytes[7]);
      mBytes.erase(mBytes.begin(), mBytes.begin() + (mBytes.front() == 0xED ? 8 : 1));
    }
  }
  Bytes mBytes;
};

class MonitoringTest : public SystemTest {
 protected:
  /// Until every terminal has been heard so often.
  void pumpUntilHeard(std::size_t terminals, std::size_t times) {
    EXPECT_TRUE(waitUntil([&] {
      mPlatform->messagePump().waitEvents();
      mPlatform->messagePump().DoEvents();
      std::size_t heardEnough = 0;
      for (const auto& [address, numbers] : heard.numbers) heardEnough += numbers.size() >= times;
      return heardEnough == terminals;
    }));
    for (const auto& [address, numbers] : heard.numbers)
      for (std::size_t i = 1; i < numbers.size(); ++i)
        ASSERT_EQ(numbers[i], numbers[i - 1] + 1) << "terminal " << address;
  }

  Listener heard;
  Cronvel mListening{mHastyPlatform, mContainer, heard};
};

TEST_F(MonitoringTest, EventsOfASharedLine) {
  const SimulatedTerminal terminals("--serial --terminals 1,12 --event-rate 10" + journalOption());
  useLine(terminals.line());
  for (const std::uint8_t number : Bytes{1, 12}) {
    mListening.DeviceNum(number);
    EXPECT_TRUE(mListening.SetMonitoringOnOff(u"", true));
  }
  heard.numbers.clear();  // the second switch discarded what came during it
  pumpUntilHeard(2, 5);
}

TEST_F(MonitoringTest, AGroupHasAConnectionForEachTerminal) {
  constexpr int groupSize = 20;
  const int port = freePort(groupSize);
  const SimulatedTerminal terminals(
      "--terminals 0-19 --event-rate 10 --delay 0 --connect 127.0.0.1:" + std::to_string(port) +
      journalOption());
  for (int i = 0; i < groupSize; ++i) {
    mListening.DeviceNum(static_cast<std::uint8_t>(i));
    // A live event of another terminal can be taken for the reply; the switch was sent all the
    // same.
    mListening.SetMonitoringOnGroup(toUtf16("terminal-" + std::to_string(port + i)), true);
  }
  pumpUntilHeard(groupSize, 5);
  const std::size_t closed = journal("closed").size();
  EXPECT_TRUE(mListening.SetMonitoringOffGroup(u"all", false));
  EXPECT_TRUE(waitUntil([&] { return journal("closed").size() - closed >= groupSize; }));
}

}  // namespace
}  // namespace cronvel::test
