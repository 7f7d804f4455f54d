#include "simulator/wire/NetworkPort.h"

#include <gtest/gtest.h>

#include <chrono>

#include "platform/Platform.h"

namespace cronvel::simulator {

TEST(NetworkPort, ServesCallersTogetherAndTheLastCommandOfOneWhoCloses) {
  const auto platform = Platform::create();
  TimerScheduler scheduler{platform->makeTimer()};
  Journal journal{scheduler};
  Terminal one{1, {}, {{"--delay", 1}}, scheduler};
  NetworkPort port{platform->makeSocketArray(), {&one}, scheduler, journal, 1e6};
  const auto callers = platform->makeSocketArray();
  const std::int32_t number = port.listen(0);
  const auto reaches = [&](const auto& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition() && std::chrono::steady_clock::now() < limit)
      platform->messagePump().waitEvents();
    return condition();
  };
  const auto acts = [&](int keypad) {
    return reaches([&] { return one.stateFields()["keypad"] == keypad; });
  };
  for (std::int16_t i = 0; i < 3; ++i) {
    if (i > 0) callers->load(i);
    callers->at(i).RemotePort(number);
    callers->at(i).Connect(u"127.0.0.1");
    callers->at(i).SendData(Bytes{0x01, 2, 16, static_cast<std::uint8_t>(i + 1)});
    EXPECT_TRUE(acts(i + 1));
    EXPECT_TRUE(reaches([&] { return callers->at(i).BytesReceived() == 1; }));
  }
  callers->at(1).SendData(Bytes{0x01, 2, 16, 99});
  callers->at(1).Close();
  EXPECT_TRUE(acts(99));
}

}  // namespace cronvel::simulator
