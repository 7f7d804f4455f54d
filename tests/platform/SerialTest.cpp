#include "tests/platform/PlatformTest.h"

#include <atomic>
#include <fstream>
#include <future>
#include <thread>

namespace cronvel {
namespace {

using Parity = LineSettings::Parity;

TEST_F(SerialTest, EveryByteIsSeenWithItsOwnParity) {
  std::vector<std::pair<std::uint8_t, LineSettings>> seen, sent;
  std::atomic<std::size_t> count = 0;
  std::promise<std::string> path;
  std::jthread device([&](const std::stop_token& stop) {
    const auto other = Platform::create();
    const auto end = makeTestLine(*other);
    end->onReceive([&](std::span<const std::uint8_t> bytes, const LineSettings& settings) {
      for (const auto byte : bytes) seen.emplace_back(byte, settings);
      count = seen.size();
    });
    path.set_value(end->path());
    while (!stop.stop_requested()) other->messagePump().waitEvents();
  });
  platform->mapCommPort(2, path.get_future().get());
  port->CommPort(2);
  const std::tuple<const char*, Bytes, LineSettings> steps[] = {
      {"50,m,8,1", {5}, {50, Parity::mark}},
      {"50,s,8,1", {2, 7}, {50, Parity::space}},
      {"4800,N,8,1", {9}, {4800, Parity::none}}};
  // Nothing but the draining in Settings keeps the bytes from being taken for each other's: it
  // lasts as long as they would on a wire, and at this speed the far end surely looks meanwhile.
  for (const auto& [settings, bytes, asSeen] : steps) {
    port->Settings(settings);
    if (!port->PortOpen()) port->PortOpen(true);
    port->Output(bytes);
    for (const std::uint8_t byte : bytes) sent.emplace_back(byte, asSeen);
  }
  EXPECT_TRUE(pumpUntil([&] { return count == sent.size(); }));
  EXPECT_TRUE(seen == sent);
}

TEST_F(SerialTest, SettingsTexts) {
  for (const char* good : {"600,m,8,1", "9600,N,7,2", "50,o,5,1.5", "115200,E,6,1"}) {
    EXPECT_EQ(raisedBy([&] { port->Settings(good); }), "") << good;
    EXPECT_EQ(port->Settings(), good);
  }
  for (const char* bad : {"", "600", "601,n,8,1", "600,x,8,1", "600,n,9,1", "600,n,8,1.5",
                          "600,n,8,3", "600,n,8,1,", "600,no,8,1", "6oo,n,8,1", "-600,n,8,1"})
    EXPECT_EQ(errorOf([&] { port->Settings(bad); }), 380) << bad;
  EXPECT_EQ(port->Settings(), "115200,E,6,1");
  port->Settings("600,s,8,1");
  port->PortOpen(true);
  for (const char* again : {"600,s,8,1", "600,m,8,1", "600,m,8,1"})
    EXPECT_EQ(raisedBy([&] { port->Settings(again); }), "") << again;
}

TEST_F(SerialTest, OpeningErrors) {
  const std::string file = inTemp("not-a-port"), missing = inTemp("missing");
  std::ofstream(file) << "text";
  for (const auto& [path, says] : {std::pair(missing, "does not exist"), {file, "not a serial"}}) {
    const std::string raised = openError(path);
    EXPECT_TRUE(raised.starts_with("8002 ")) << raised;
    EXPECT_NE(raised.find("COM1 (" + path + ") "), std::string::npos) << raised;
    EXPECT_NE(raised.find(says), std::string::npos) << raised;
    EXPECT_FALSE(port->PortOpen());
  }
  std::filesystem::remove(file);
}

TEST_F(SerialTest, APortBelongsToOneAtATimeAndAClosedOneRefuses) {
  EXPECT_EQ(errorOf([&] { port->CommPort(0); }), 8002);
  expectError(8018, {[&] { port->InBufferCount(); }, [&] { port->Output(Bytes{1}); }});
  expectError(8018, {[&] { port->Input(); }});
  EXPECT_FALSE(port->CDHolding());
  open();
  EXPECT_FALSE(port->CDHolding());
  EXPECT_EQ(errorOf([&] { port->InBufferCount(1); }), 380);
  EXPECT_EQ(errorOf([&] { port->CommPort(3); }), 8000);
  EXPECT_TRUE(openError().starts_with("8005 "));
  auto other = platform->makeSerialPort();
  if (!underWine()) {  // it lets several programs open a port
    EXPECT_EQ(errorOf([&] { other->PortOpen(true); }), 8005);
  }
  port->PortOpen(false);
  other->PortOpen(true);
  EXPECT_TRUE(other->PortOpen());
}

TEST_F(SerialTest, BytesWaitUntilTheyAreRead) {
  open();
  const Bytes bytes{0, 24, 0xFF, 3, 17, 19, 13, 10, 0x1A};
  line->send(bytes);
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == std::ssize(bytes); }));
  pumpFor(10);
  EXPECT_EQ(events, 1);  // raised for bytes that a count had found before the pump did
  EXPECT_EQ(port->Input(), bytes);
  line->send(Bytes{1});
  EXPECT_TRUE(pumpUntil([&] { return events == 2; }));
  EXPECT_EQ(port->CommEvent(), comEvReceive);
  port->InBufferCount(0);
  EXPECT_EQ(port->InBufferCount(), 0);
  port->configure({.InputMode = 1, .InputLen = 2, .NullDiscard = true});
  line->send(Bytes{1, 0, 2, 3});
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
    line->send(Bytes{2});
    pumpFor(5);
    --depth;
    if (calls == 2) throw std::runtime_error("from the handler");
    if (calls == 3) port.reset();
  });
  line->send(Bytes{1});
  EXPECT_THROW(pumpUntil([&] { return calls == 3; }), std::runtime_error);
  EXPECT_TRUE(pumpUntil([&] { return !port; }));
  EXPECT_EQ(calls, 3);
}

TEST_F(SerialTest, AHangUpIsAnErrorAndNoBusyLoop) {
  open();
  line->send(Bytes{5});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 1; }));
  line.reset();
  EXPECT_TRUE(pumpUntil([&] { return errorOf([&] { port->Output(Bytes{1}); }) == 57; }));
  EXPECT_LT(passesIn(20), 40);
  EXPECT_EQ(port->Input(), Bytes{5});
  expectError(8020, {[&] { port->InBufferCount(); }, [&] { port->Input(); }});
  port->PortOpen(false);
  EXPECT_TRUE(openError().starts_with("8002 "));
}

TEST_F(SerialTest, AnIdleLineKnowsWhenItIsOpenAndBurnsNothing) {
  EXPECT_EQ(line->settings(), LineSettings{});
  line->send(Bytes{9});  // lost: nobody has the port open
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

TEST_F(SerialTest, ABigBlockReachesAPortThatTheEnvironmentNames) {
  setVariable("CRONVEL_COM7", line->path());
  port->CommPort(7);
  port->Settings("4000000,n,8,1");
  open();
  const Bytes block = pattern(200'000);
  Bytes got;
  line->send(block);
  EXPECT_TRUE(pumpUntil([&] {
    const Bytes part = port->Input();
    got.insert(got.end(), part.begin(), part.end());
    return got.size() >= block.size();
  }));
  EXPECT_EQ(got, block);
}

}  // namespace
}  // namespace cronvel
