#include <ctime>

#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

class TimerTest : public PlatformTest {
 protected:
  void start(int interval, const std::function<void()>& handler) {
    timer->Interval(interval);
    timer->onTimer(handler);
    timer->Enabled(true);
  }

  std::unique_ptr<Timer> timer = platform->makeTimer();
  int ticks = 0;
};

TEST_F(TimerTest, TicksOnlyWhileEnabledAndItsHandlerMaySwitchIt) {
  timer->onTimer([&] { ++ticks; });
  pumpFor(10);
  EXPECT_EQ(ticks, 0);
  start(5, [&] { ++ticks; });
  EXPECT_TRUE(pumpUntil([&] { return ticks == 3; }));
  start(2, [&] {
    timer->Enabled(false);
    if (++ticks == 4) timer->Enabled(true);
  });
  EXPECT_TRUE(pumpUntil([&] { return ticks == 5; }));
  pumpFor(15);
  EXPECT_EQ(ticks, 5);
}

TEST_F(TimerTest, ItsHandlerIsNeverNestedAndMayThrowOrDestroyIt) {
  int depth = 0;
  start(1, [&] {
    EXPECT_EQ(++depth, 1);
    pumpFor(10);
    --depth;
    if (++ticks == 2) throw std::runtime_error("from the handler");
    if (ticks == 3) timer.reset();
  });
  platform->clock().sleep(20);
  platform->messagePump().DoEvents();
  EXPECT_EQ(ticks, 1);  // missed ones are one
  EXPECT_THROW(pumpUntil([&] { return !timer; }), std::runtime_error);
  EXPECT_TRUE(pumpUntil([&] { return !timer; }));
  EXPECT_EQ(ticks, 3);
}

TEST_F(TimerTest, TheClockIsTheLocalTimeOfDay) {
  const std::time_t now = std::time(nullptr);
  const std::tm& local = *std::localtime(&now);
  EXPECT_NEAR(platform->clock().Timer(), (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec,
              2);
}

}  // namespace
}  // namespace cronvel
