#include "tests/platform/PlatformTest.h"

namespace cronvel {
namespace {

using TimerTest = PlatformTest;

TEST_F(TimerTest, TicksOnlyWhileEnabledAndItsHandlerMaySwitchIt) {
  timer->onTimer([&] { ++ticks; });
  pumpFor(10);
  EXPECT_EQ(ticks, 0);
  startTimer(2, [&] {
    timer->Enabled(false);
    if (++ticks < 4) timer->Enabled(true);
  });
  EXPECT_TRUE(pumpUntil([&] { return ticks == 4; }));
  pumpFor(15);
  EXPECT_EQ(ticks, 4);
}

TEST_F(TimerTest, ItsHandlerIsNeverNestedAndMayThrowOrDestroyIt) {
  int depth = 0;
  startTimer(1, [&] {
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
}

}  // namespace
}  // namespace cronvel
