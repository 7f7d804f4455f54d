#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

TEST_F(SerialTest, SettingsTexts) {
  port->Settings("115200,E,6,1");
  expectError(380, {[&] { port->Settings("601,n,8,1"); }});
  EXPECT_EQ(port->Settings(), "115200,E,6,1");
}

TEST_F(SerialTest, APortBelongsToOneAtATimeAndAClosedOneRefuses) {
  const auto other = platform->makeSerialPort();
  expectError(8018, {[&] { port->InBufferCount(); }, [&] { port->Output(Bytes{1}); }});
  expectError(8018, {[&] { port->Input(); }});
  expectError(8002, {[&] { port->CommPort(0); }});
  port->PortOpen(true);
  EXPECT_FALSE(port->CDHolding());
  expectError(380, {[&] { port->InBufferCount(1); }});
  expectError(8000, {[&] { port->CommPort(3); }});
  expectError(8005, {[&] { port->PortOpen(true); }});
  // Wine lets several programs open a port.
  if (!underWine()) expectError(8005, {[&] { other->PortOpen(true); }});
  port->PortOpen(false);
  other->PortOpen(true);
  EXPECT_TRUE(other->PortOpen());
}

TEST_F(SerialTest, BytesWaitUntilTheyAreRead) {
  port->PortOpen(true);
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
  EXPECT_EQ(events, 2);
}

TEST_F(SerialTest, TheHandlerMayPumpThrowOrDestroyThePort) {
  port->PortOpen(true);
  int depth = 0;
  port->onComm([&] {
    ++events;
    EXPECT_EQ(++depth, 1);
    line->send(Bytes{2});
    pumpFor(5);
    --depth;
    if (events == 2) throw std::runtime_error("from the handler");
    if (events == 3) port.reset();
  });
  line->send(Bytes{1});
  EXPECT_THROW(pumpUntil([&] { return !port; }), std::runtime_error);
  EXPECT_TRUE(pumpUntil([&] { return !port; }));
}

TEST_F(SerialTest, AHangUpIsAnErrorAndNoBusyLoop) {
  port->PortOpen(true);
  line->send(Bytes{5});
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == 1; }));
  line.reset();
  EXPECT_TRUE(
      pumpUntil([&] { return raisedBy([&] { port->Output(Bytes{1}); }).starts_with("57 "); }));
  EXPECT_LT(passesIn(20), 40);
  EXPECT_EQ(port->Input(), Bytes{5});
  expectError(8020, {[&] { port->InBufferCount(); }, [&] { port->Input(); }});
  port->PortOpen(false);
  EXPECT_TRUE(openError("no-such-port").starts_with("8002 "));
}

TEST_F(SerialTest, ABigBlockWaitsWhole) {
  port->Settings("4000000,n,8,1");
  port->PortOpen(true);
  const Bytes block = pattern(200'000);
  line->send(block);
  EXPECT_TRUE(pumpUntil([&] { return port->InBufferCount() == std::ssize(block); }));
  EXPECT_EQ(port->Input(), block);
}

}  // namespace
}  // namespace cronvel
