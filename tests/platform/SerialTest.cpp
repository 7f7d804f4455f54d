#include <atomic>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "tests/platform/SerialTest.h"

namespace cronvel {
namespace {

using Parity = LineSettings::Parity;

TEST_F(SerialTest, EveryByteIsSeenWithItsOwnParity) {
  struct Seen {
    std::uint8_t byte;
    LineSettings settings;
    bool operator==(const Seen&) const = default;
  };
  std::vector<Seen> seen;
  std::atomic<std::size_t> count = 0;
  std::string path;
  std::atomic<bool> ready = false, done = false;
  std::jthread device([&] {
    const auto other = Platform::create();
    const auto end = makeTestLine(*other);
    end->onReceive([&](std::span<const std::uint8_t> bytes, const LineSettings& settings) {
      for (const auto byte : bytes) seen.push_back({byte, settings});
      count = seen.size();
    });
    path = end->path();
    ready = true;
    while (!done) other->messagePump().waitEvents();
  });
  while (!ready) std::this_thread::yield();
  platform->mapCommPort(2, path);
  port->CommPort(2);
  std::vector<Seen> sent;
  const auto write = [&](std::uint8_t byte, Parity parity, int speed) {
    port->Output(Bytes{byte});
    sent.push_back({byte, {speed, parity}});
  };
  // Nothing but the draining in Settings keeps the bytes from being taken for each other's.
  for (std::uint8_t round = 0; round < 3; ++round) {
    port->Settings("600,m,8,1");
    if (!port->PortOpen()) port->PortOpen(true);
    write(round, Parity::mark, 600);
    port->Settings("600,s,8,1");
    write(2, Parity::space, 600);
    write(7, Parity::space, 600);
    port->Settings("4800,N,8,1");
    write(9, Parity::none, 4800);
    platform->clock().sleep(10);
  }
  const auto end = Steady::now() + Milliseconds(4000);
  while (count < sent.size() && Steady::now() < end) platform->clock().sleep(1);
  done = true;
  device.join();
  ASSERT_EQ(seen.size(), sent.size());
  for (std::size_t i = 0; i < sent.size(); ++i) EXPECT_EQ(seen[i], sent[i]) << "byte " << i;
}

TEST_F(SerialTest, SettingsTexts) {
  for (const char* good : {"600,m,8,1", "9600,N,7,2", "50,o,5,1.5", "115200,E,6,1"}) {
    EXPECT_EQ(raisedBy([&] { port->Settings(good); }).number, 0) << good;
    EXPECT_EQ(port->Settings(), good);
  }
  for (const char* bad : {"", "600", "601,n,8,1", "600,x,8,1", "600,n,9,1", "600,n,8,1.5",
                          "600,n,8,3", "600,n,8,1,", "600,no,8,1", "6oo,n,8,1", "-600,n,8,1"})
    EXPECT_EQ(raisedBy([&] { port->Settings(bad); }).number, 380) << bad;
  EXPECT_EQ(port->Settings(), "115200,E,6,1");
}

TEST_F(SerialTest, TheSameSettingsOnceMoreAreNoError) {
  port->PortOpen(true);
  for (const char* settings : {"600,s,8,1", "600,s,8,1", "600,m,8,1", "600,m,8,1"})
    EXPECT_EQ(raisedBy([&] { port->Settings(settings); }).text, "") << settings;
}

TEST_F(SerialTest, OpeningErrors) {
  const std::string file = inTemp("not-a-port");
  std::ofstream(file) << "text";
  const struct {
    std::string path;
    int number;
    const char* says;
  } cases[] = {{inTemp("missing"), 8002, "does not exist"}, {file, 8002, "not a serial port"}};
  for (const auto& each : cases) {
    platform->mapCommPort(1, each.path);
    const Raised raised = raisedBy([&] { port->PortOpen(true); });
    EXPECT_EQ(raised.number, each.number) << each.path;
    EXPECT_NE(raised.text.find(each.says), std::string::npos) << raised.text;
    EXPECT_NE(raised.text.find(each.path), std::string::npos) << raised.text;
    EXPECT_FALSE(port->PortOpen());
  }
  std::filesystem::remove(file);
  EXPECT_EQ(raisedBy([&] { port->CommPort(0); }).number, 8002);
}

TEST_F(SerialTest, APortBelongsToOneAtATime) {
  open();
  EXPECT_EQ(openError(), 8005);
  EXPECT_EQ(raisedBy([&] { port->CommPort(3); }).number, 8000);
  auto other = platform->makeSerialPort();
  if (!underWine()) {  // it lets several programs open a port
    EXPECT_EQ(raisedBy([&] { other->PortOpen(true); }).number, 8005);
  }
  port->PortOpen(false);
  other->PortOpen(true);
  EXPECT_TRUE(other->PortOpen());
}

TEST_F(SerialTest, AClosedPortRefusesAndKnowsNoCarrier) {
  EXPECT_EQ(raisedBy([&] { port->InBufferCount(); }).number, 8018);
  EXPECT_EQ(raisedBy([&] { port->Output(Bytes{1}); }).number, 8018);
  EXPECT_EQ(raisedBy([&] { port->Input(); }).number, 8018);
  EXPECT_FALSE(port->CDHolding());
  open();
  EXPECT_FALSE(port->CDHolding());
  EXPECT_EQ(raisedBy([&] { port->InBufferCount(1); }).number, 380);
}

TEST_F(SerialTest, BytesWaitUntilTheyAreRead) {
  open();
  send({0, 24, 0xFF, 3, 17, 19, 13, 10, 0x1A});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 9; }));
  platform->messagePump().DoEvents();
  EXPECT_EQ(events, 1);  // raised for bytes that a count had found before the pump did
  pumpFor(10);
  EXPECT_EQ(events, 1);
  EXPECT_EQ(port->Input(), (Bytes{0, 24, 0xFF, 3, 17, 19, 13, 10, 0x1A}));
  send({1});
  EXPECT_TRUE(pumpUntil([&] { return events == 2; }));
  EXPECT_EQ(port->CommEvent(), comEvReceive);
  port->InBufferCount(0);
  EXPECT_EQ(port->InBufferCount(), 0);
  port->configure({.InputMode = 1, .InputLen = 2, .NullDiscard = true});
  send({1, 0, 2, 3});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 3; }));
  EXPECT_EQ(port->Input(), (Bytes{1, 2}));
  EXPECT_EQ(port->Input(), Bytes{3});
  EXPECT_EQ(events, 2);
}

TEST_F(SerialTest, TheHandlerMayPumpThrowOrDestroyThePort) {
  open();
  int depth = 0, calls = 0;
  port->onComm([&] {
    ++calls;
    EXPECT_EQ(++depth, 1);
    send({2});
    pumpFor(5);
    --depth;
    if (calls == 1) return;
    if (calls == 2) throw std::runtime_error("from the handler");
    port.reset();
  });
  send({1});
  EXPECT_THROW(pumpFor(1000), std::runtime_error);
  EXPECT_TRUE(pumpUntil([&] { return !port; }));
  EXPECT_EQ(calls, 3);
}

TEST_F(SerialTest, AHangUpIsAnErrorAndNoBusyLoop) {
  open();
  send({5});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 1; }));
  line.reset();
  pumpFor(5);
  EXPECT_LT(passesIn(20), 40);
  EXPECT_EQ(port->Input(), Bytes{5});
  EXPECT_EQ(raisedBy([&] { port->InBufferCount(); }).number, 8020);
  EXPECT_EQ(raisedBy([&] { port->Input(); }).number, 8020);
  EXPECT_EQ(raisedBy([&] { port->Output(Bytes{1}); }).number, 57);
  port->PortOpen(false);
  EXPECT_EQ(openError(), 8002);
}

TEST_F(SerialTest, AnIdleLineKnowsWhenItIsOpenAndBurnsNothing) {
  EXPECT_EQ(line->settings(), LineSettings{});
  send({9});  // lost: nobody has the port open
  EXPECT_LT(passesIn(20), 40);
  port->Settings("600,m,8,1");
  open();
  EXPECT_EQ(port->InBufferCount(), 0);
  EXPECT_EQ(line->settings(), (LineSettings{600, Parity::mark}));
  port->Output(Bytes{1});
  port->PortOpen(false);
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1}; }));
  EXPECT_EQ(line->settings().speed, 0);
}

TEST_F(SerialTest, ABigBlockPassesBothWays) {
  port->Settings("4000000,n,8,1");
  open();
  Bytes block(200'000);
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<std::uint8_t>(i * 7);
  send(block);
  Bytes got;
  EXPECT_TRUE(pumpUntil([&] {
    const Bytes part = port->Input();
    got.insert(got.end(), part.begin(), part.end());
    return got.size() >= block.size();
  }));
  EXPECT_EQ(got, block);
}

TEST_F(SerialTest, TheEnvironmentNamesPorts) {
  setVariable("CRONVEL_COM7", line->path());
  port->CommPort(7);
  open();
  setVariable("CRONVEL_COM7", "");
}

}  // namespace
}  // namespace cronvel
