// What only real connections show.

#include "tests/support/SystemTest.h"

namespace cronvel::test {
namespace {

using ConversationTest = SystemTest;

TEST_F(ConversationTest, ConnectionsInARowNeverMeetAnAddressInUse) {
  const std::string port = std::to_string(freePort());
  const SimulatedTerminal terminal("--listen 0 --delay 100 --connect 127.0.0.1:" + port);
  connectTo(terminal);
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(mHasty.SetKeyboard(u"127.0.0.1", 1)) << i;
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(mHasty.TestConnection(u"gate-" + toUtf16(port))) << i;
}

TEST_F(ConversationTest, ATerminalServesCallersTogetherAndTheLastCommandOfOneWhoCloses) {
  const SimulatedTerminal terminal("--listen 0" + journalOption());
  const auto callers = mPlatform->makeSocketArray();
  for (std::int16_t i = 0; i < 3; ++i) {
    if (i > 0) callers->load(i);
    callers->at(i).RemotePort(std::stoi(terminal.port()));
    callers->at(i).Connect(u"127.0.0.1");
    callers->at(i).SendData(Bytes{1, 2, 16, static_cast<std::uint8_t>(i)});
    if (i == 2) callers->at(i).Close();
    EXPECT_TRUE(waitUntil([&] {
      mPlatform->messagePump().waitEvents();
      return journal("command").size() == static_cast<std::size_t>(i + 1);
    }));
  }
}

}  // namespace
}  // namespace cronvel::test
