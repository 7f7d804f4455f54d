#include <csignal>

#include "tests/platform/PlatformTest.h"

#include <sys/time.h>

namespace cronvel {
namespace {

using SignalTest = PlatformTest;

TEST_F(SignalTest, SleepResumesAfterASignalAndThePumpReturns) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 3000}, {0, 3000}}, never{};
  setitimer(ITIMER_REAL, &often, nullptr);
  const auto start = Steady::now();
  platform->clock().sleep(20);
  EXPECT_GE(Steady::now() - start, Milliseconds(20));
  pumpFor(20);
  setitimer(ITIMER_REAL, &never, nullptr);
}

}  // namespace
}  // namespace cronvel
