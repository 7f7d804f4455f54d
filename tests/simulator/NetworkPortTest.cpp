#include "simulator/wire/NetworkPort.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "platform/Platform.h"

namespace cronvel::simulator {

class NetworkPortTest : public ::testing::Test {
 protected:
  bool waitFor(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      platform->messagePump().waitEvents();
    }
    return true;
  }
  std::unique_ptr<SocketArray> call(const Bytes& bytes) {
    auto sockets = platform->makeSocketArray();
    sockets->at(0).RemotePort(number);
    sockets->at(0).Connect(u"127.0.0.1");
    sockets->at(0).SendData(bytes);
    return sockets;
  }
  int keypad(const Terminal& terminal) { return terminal.stateFields()["keypad"]; }
  bool isAnswered(SocketArray& sockets, const Terminal& terminal, int value) {
    return waitFor([&] { return sockets.at(0).BytesReceived() > 0; }) &&
           sockets.at(0).GetData() == Bytes{24} && keypad(terminal) == value;
  }

  std::unique_ptr<Platform> platform = Platform::create();
  TimerScheduler scheduler{platform->makeTimer()};
  Journal journal{scheduler};
  Terminal one{1, {}, {{"--delay", 1}}, scheduler};
  Terminal two{2, {}, {{"--delay", 1}}, scheduler};
  NetworkPort port{platform->makeSocketArray(), {&one, &two}, scheduler, journal, 1e6};
  int number = port.listen(0);
};

TEST_F(NetworkPortTest, servesCallersOneAfterAnotherAndTogether) {
  const auto patient = call({0x02, 2, 16});
  for (std::uint8_t i = 1; i <= 5; ++i) EXPECT_TRUE(isAnswered(*call({0x01, 2, 16, i}), one, i));
  patient->at(0).SendData(Bytes{99});
  EXPECT_TRUE(isAnswered(*patient, two, 99));
  two.faults({{"--drop", {}}});
  patient->at(0).SendData(Bytes{0x02, 2, 18});
  EXPECT_TRUE(waitFor([&] { return patient->at(0).State() == sckClosing; }));
}

TEST_F(NetworkPortTest, aCommandSentRightBeforeTheCallerClosesIsCarriedOut) {
  const auto hasty = call({0x01, 2, 16, 5});
  ASSERT_TRUE(waitFor([&] { return hasty->at(0).State() == sckConnected; }));
  hasty->at(0).Close();
  EXPECT_TRUE(waitFor([&] { return keypad(one) == 5; }));
}

}  // namespace cronvel::simulator
