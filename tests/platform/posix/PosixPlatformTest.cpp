#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "tests/platform/PlatformTest.h"

namespace cronvel {

std::unique_ptr<SerialLineEnd> makeTestLine(Platform& platform) {
  return platform.makeSerialLineEnd("");
}

bool underWine() { return false; }

namespace {

namespace fs = std::filesystem;
using Parity = LineSettings::Parity;
using PosixPlatformTest = SerialTest;

// Nothing but the draining in Settings keeps the bytes from being taken for each other's: it lasts
// as long as they would on a wire, and at this speed the far end surely looks meanwhile.
TEST_F(PosixPlatformTest, EveryByteLeavesWithItsOwnParity) {
  const LineSettings mark{50, Parity::mark}, space{50, Parity::space}, none{4800, Parity::none};
  const std::vector<std::pair<std::uint8_t, LineSettings>> sent = {
      {5, mark}, {2, space}, {7, space}, {9, none}};
  std::decay_t<decltype(sent)> seen;
  std::promise<std::string> path;
  std::jthread device([&] {
    const auto other = Platform::create();
    const auto end = makeTestLine(*other);
    end->onReceive([&](std::span<const std::uint8_t> bytes, const LineSettings& settings) {
      for (const auto byte : bytes) seen.emplace_back(byte, settings);
    });
    path.set_value(end->path());
    const auto limit = Steady::now() + std::chrono::seconds(20);
    while (seen.size() < sent.size() && Steady::now() < limit) other->messagePump().waitEvents();
  });
  platform->mapCommPort(1, path.get_future().get());
  port->Settings("50,m,8,1");
  port->PortOpen(true);
  port->Output(Bytes{5});
  port->Settings("50,s,8,1");
  port->Output(Bytes{2, 7});
  port->Settings("4800,N,8,1");
  port->Output(Bytes{9});
  port->PortOpen(false);
  device.join();
  EXPECT_EQ(seen, sent);
}

TEST_F(PosixPlatformTest, WithoutPermissionItSaysWhatToDoAndNotEveryFileIsAPort) {
  chmod(line->path().c_str(), 0);
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  const std::string raised = openError(line->path());
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_TRUE(raised.starts_with("8010 ")) << raised;
  EXPECT_NE(raised.find("dialout"), std::string::npos) << raised;
  for (const char* path : {"/", "/dev/null"})
    EXPECT_TRUE(openError(path).starts_with("8002 ")) << path;
}

TEST_F(PosixPlatformTest, AnIdleLineKnowsWhenItIsOpenAndBurnsNothing) {
  EXPECT_EQ(line->settings(), LineSettings{});
  line->send(Bytes{9});  // lost: nobody has the port open
  EXPECT_LT(passesIn(20), 40);
  port->Settings("600,m,8,1");
  port->PortOpen(true);
  EXPECT_EQ(port->InBufferCount(), 0);
  EXPECT_EQ(line->settings(), (LineSettings{600, Parity::mark}));
  port->PortOpen(false);
  EXPECT_EQ(line->settings().speed, 0);
}

TEST_F(PosixPlatformTest, TheLinkGoesWithTheLine) {
  const std::string name = testing::TempDir() + "line-link-" + std::to_string(getpid());
  const auto makeAnother = [&] { platform->makeSerialLineEnd(name); };
  fs::create_symlink("/nowhere/at/all", name);  // as a killed program leaves it
  {
    const auto linked = platform->makeSerialLineEnd(name);
    expectError(75, {makeAnother});
    EXPECT_EQ(openError(name), "");
  }
  EXPECT_FALSE(fs::is_symlink(name));
  std::ofstream(name) << "precious";
  expectError(75, {makeAnother});
  EXPECT_TRUE(fs::remove(name));
}

TEST_F(PosixPlatformTest, SleepResumesAfterASignalAndThePumpReturns) {
  std::signal(SIGALRM, [](int) {});
  ualarm(3000, 3000);
  const auto start = Steady::now();
  platform->clock().sleep(20);
  EXPECT_GE(Steady::now() - start, std::chrono::milliseconds(20));
  pumpFor(20);
  ualarm(0, 0);
}

}  // namespace
}  // namespace cronvel
