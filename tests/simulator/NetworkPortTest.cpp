#include <gtest/gtest.h>

#include <chrono>

#include "platform/Platform.h"
#include "runtime/Text.h"
#include "simulator/wire/NetworkPort.h"

namespace cronvel::simulator {
namespace {

/// A PC on this machine's own network.
class Pc : public SocketEvents {
 public:
  explicit Pc(Platform& platform) : mPlatform(platform), mSockets(platform.makeSocketArray()) {
    mSockets->setEvents(this);
  }

  Socket& socket() { return mSockets->at(0); }

  template <typename Condition>
  bool waitFor(Condition condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      mPlatform.messagePump().waitEvents();
    }
    return true;
  }

  void callUp(int port) {
    socket().RemotePort(port);
    socket().Connect(u"127.0.0.1");
  }

  void ConnectionRequest(std::int16_t, std::int32_t requestID) override {
    socket().Close();
    socket().Accept(requestID);
  }
  void DataArrival(std::int16_t, std::int32_t) override {
    const Bytes bytes = socket().GetData();
    received.insert(received.end(), bytes.begin(), bytes.end());
  }
  void Error(std::int16_t, std::int16_t, std::u16string&, std::int32_t, const std::u16string&,
             const std::u16string&, std::int32_t, bool& CancelDisplay) override {
    CancelDisplay = true;
  }
  void Connect(std::int16_t) override {}
  void Close(std::int16_t) override { closed = true; }
  void SendComplete(std::int16_t) override {}
  void SendProgress(std::int16_t, std::int32_t, std::int32_t) override {}

  Bytes received;
  bool closed = false;

 private:
  Platform& mPlatform;
  std::unique_ptr<SocketArray> mSockets;
};

class NetworkPortTest : public ::testing::Test {
 protected:
  NetworkPortTest() {
    Faults fast;
    fast.delay = 1;
    one.faults(fast);
    two.faults(fast);
  }

  std::unique_ptr<Platform> platform = Platform::create();
  TimerScheduler scheduler{platform->makeTimer()};
  Journal journal{scheduler};
  Terminal one{1, {}, {}, scheduler};
  Terminal two{2, {}, {}, scheduler};
  NetworkPort port{platform->makeSocketArray(), {&one, &two}, scheduler, journal, 1e6};
  Pc pc{*platform};
};

TEST_F(NetworkPortTest, servesCallersOneAfterAnotherAndTogether) {
  const int number = port.listen(0);
  Pc other(*platform);
  other.callUp(number);
  other.socket().SendData(Bytes{0x02, 2, 16});
  for (int i = 1; i <= 20; ++i) {
    pc.callUp(number);
    pc.socket().SendData(Bytes{0x01, 2, 16, static_cast<std::uint8_t>(i)});
    ASSERT_TRUE(pc.waitFor([&] { return pc.received.size() == static_cast<std::size_t>(i); }));
    EXPECT_EQ(one.stateFields()["keypad"], i);
    pc.socket().Close();
  }
  other.socket().SendData(Bytes{99});
  EXPECT_TRUE(pc.waitFor([&] { return other.received == Bytes{24}; }));
  EXPECT_EQ(two.stateFields()["keypad"], 99);
}

TEST_F(NetworkPortTest, aCommandSentRightBeforeTheCallerClosesIsCarriedOut) {
  pc.callUp(port.listen(0));
  pc.socket().SendData(Bytes{0x01, 2, 16, 5});
  ASSERT_TRUE(pc.waitFor([&] { return pc.socket().State() == sckConnected; }));
  pc.socket().Close();
  EXPECT_TRUE(pc.waitFor([&] { return one.stateFields()["keypad"] == 5; }));
}

TEST_F(NetworkPortTest, closesTheConnectionInsteadOfAnswering) {
  Faults faults;
  faults.drop = true;
  one.faults(faults);
  pc.callUp(port.listen(0));
  pc.socket().SendData(Bytes{0x01, 2, 18});
  EXPECT_TRUE(pc.waitFor([&] { return pc.closed; }));
  EXPECT_TRUE(pc.received.empty());
}

TEST_F(NetworkPortTest, connectsAgainAfterRefusalAndAfterEveryEnd) {
  pc.socket().LocalPort(0);
  pc.socket().Listen();
  const int number = pc.socket().LocalPort();
  pc.socket().Close();
  std::vector<std::string> seen;
  journal.addSink([&](const Event& event) { seen.push_back(event.name); });
  port.connectTo("127.0.0.1", number);
  ASSERT_TRUE(pc.waitFor([&] { return !seen.empty(); }));
  EXPECT_EQ(seen.front(), "failed");
  for (std::size_t i = 1; i <= 2; ++i) {
    pc.socket().LocalPort(number);
    pc.socket().Listen();
    ASSERT_TRUE(pc.waitFor([&] { return pc.socket().State() == sckConnected; }));
    pc.socket().SendData(Bytes{0x01, 2, 18});
    ASSERT_TRUE(pc.waitFor([&] { return pc.received.size() == i; }));
    pc.socket().Close();
  }
}

}  // namespace
}  // namespace cronvel::simulator
