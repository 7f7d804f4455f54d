// Every command of the table against the simulated terminal: over a line whose other end sees the
// parity of every byte, and over real connections both ways.

#include "tests/support/Commands.h"
#include "tests/support/SystemTest.h"

namespace cronvel::test {
namespace {

class CommandsTest : public SystemTest {
 protected:
  CommandsTest() {
    std::filesystem::current_path(mFolder.path());
    mFolder.write("cards.txt", cardFile);
  }
  ~CommandsTest() override { std::filesystem::current_path(mBefore); }

  /// Runs it and waits for what the terminal says of it.
  nlohmann::json run(const Command& command, const std::u16string& host) {
    const std::size_t before = journal("command").size();
    const std::string result = command.call.run(mHasty, host);
    const std::string& expected = command.result.accepted;
    // What is in an array is the terminal's own.
    const bool isArray = expected.starts_with("0..");
    EXPECT_EQ(isArray ? result.substr(0, result.find(' ')) : result,
              isArray ? expected.substr(0, expected.find(' ')) : expected);
    EXPECT_TRUE(waitUntil([&] { return journal("command").size() > before; }));
    const auto seen = journal("command");
    return seen.size() > before ? seen.back() : nlohmann::json();
  }

 private:
  std::filesystem::path mBefore = std::filesystem::current_path();
};

TEST_F(CommandsTest, OverALineOnlyTheAddressCarriesTheMarkAndOnlyTheAddressedActs) {
  const SimulatedTerminal terminals(
      "--serial --terminals 1,12,2 --event-rate 0.001 --cards 2 --days 2" + journalOption());
  useLine(terminals.line());
  mHasty.DeviceNum(12);
  std::size_t count = 0;
  for (const Command& command : commands()) {
    SCOPED_TRACE(command.call.name());
    // The long ones show nothing more here, and take 50 ms for each byte.
    if (!command.serial() || bytesOf(command.body).size() > 15) continue;
    const auto seen = run(command, u"");
    EXPECT_EQ(seen["terminal"], 12);
    EXPECT_EQ(seen["body"], nlohmann::json(bytesOf(command.body)));
    EXPECT_EQ(seen["address_parity"], "mark");
    const bool noParity = command.body.find("600,n,8,1") != std::string::npos;
    EXPECT_EQ(seen["body_parity"], noParity ? "none" : "space");
    ++count;
  }
  mHasty.DeviceNum(3);
  EXPECT_FALSE(mHasty.ResetMem(u""));  // nobody has that number
  EXPECT_EQ(journal("command").size(), count);
}

TEST_F(CommandsTest, OverTheNetwork) {
  const int port = freePort();
  // Sooner, a reply on a busy machine comes before the wait for it, and is lost.
  const SimulatedTerminal terminal(
      "--listen 0 --delay 100 --event-rate 0.001 --cards 2 --days 2 --connect 127.0.0.1:" +
      std::to_string(port) + journalOption());
  for (const Command& command : commands()) {
    if (command.network == Network::none) continue;
    SCOPED_TRACE(command.call.name());
    std::u16string host = u"127.0.0.1";
    if (command.network == Network::connects) {
      connectTo(terminal);
    } else {
      host = toUtf16("gate-" + std::to_string(port));
      mHasty.SetWinSockLocalPort(0, port);
    }
    EXPECT_EQ(run(command, host)["body"], nlohmann::json(bytesOf(command.networkBody)));
    mHasty.SetMonitoringOffGroup(u"all", false);
    mHasty.WinSockClose(0);
  }
}

}  // namespace
}  // namespace cronvel::test
