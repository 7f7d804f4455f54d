#include <ctime>
#include <stdexcept>

#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

class TimerTest : public PlatformTest {
 protected:
  std::unique_ptr<Timer> timer = platform->makeTimer();
  int ticks = 0;
};

TEST_F(TimerTest, TicksOnlyWhileEnabled) {
  timer->Interval(5);
  timer->onTimer([&] { ++ticks; });
  pumpFor(15);
  EXPECT_EQ(ticks, 0);
  timer->Enabled(true);
  EXPECT_TRUE(pumpUntil([&] { return ticks == 3; }));
  timer->Enabled(false);
  pumpFor(15);
  EXPECT_EQ(ticks, 3);
}

TEST_F(TimerTest, ItsHandlerMaySwitchItOffAndOn) {
  timer->Interval(2);
  timer->onTimer([&] {
    timer->Enabled(false);
    if (++ticks == 1) timer->Enabled(true);
  });
  timer->Enabled(true);
  pumpFor(20);
  EXPECT_EQ(ticks, 2);
}

TEST_F(TimerTest, ItsHandlerIsNeverNestedAndMissedTicksAreOne) {
  int depth = 0, deepest = 0;
  timer->Interval(1);
  timer->onTimer([&] {
    deepest = std::max(deepest, ++depth);
    ++ticks;
    pumpFor(10);
    --depth;
  });
  timer->Enabled(true);
  platform->clock().sleep(20);
  platform->messagePump().DoEvents();
  EXPECT_EQ(ticks, 1);
  EXPECT_TRUE(pumpUntil([&] { return ticks == 3; }));
  EXPECT_EQ(deepest, 1);
}

TEST_F(TimerTest, ItsHandlerMayDestroyItOrThrow) {
  auto doomed = platform->makeTimer();
  doomed->onTimer([&] { doomed.reset(); });
  doomed->Enabled(true);
  EXPECT_TRUE(pumpUntil([&] { return !doomed; }));

  timer->onTimer([&] {
    if (++ticks == 1) throw std::runtime_error("from the handler");
  });
  timer->Enabled(true);
  EXPECT_THROW(pumpFor(1000), std::runtime_error);
  EXPECT_TRUE(pumpUntil([&] { return ticks == 2; }));
}

TEST_F(TimerTest, TheClockIsTheLocalTimeOfDay) {
  const double seconds = platform->clock().Timer();
  const std::time_t now = std::time(nullptr);
  const std::tm& local = *std::localtime(&now);
  EXPECT_NEAR(seconds, (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec, 2);
}

}  // namespace
}  // namespace cronvel
