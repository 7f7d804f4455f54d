#include "cli/InterruptGuard.h"

#include <csignal>

namespace cronvel {

namespace {

volatile std::sig_atomic_t signalsSeen = 0;

}  // namespace

extern "C" {
static void noteSignal(int signal) {
  signalsSeen = signalsSeen + 1;
  std::signal(signal, signalsSeen < 2 ? noteSignal : SIG_DFL);
}
}

InterruptGuard::InterruptGuard() {
  signalsSeen = 0;
  mEarlierInterrupt = take(SIGINT);
  mEarlierTerminate = take(SIGTERM);
}

InterruptGuard::~InterruptGuard() {
  std::signal(SIGINT, mEarlierInterrupt);
  std::signal(SIGTERM, mEarlierTerminate);
}

InterruptGuard::Handler InterruptGuard::take(int signal) {
  const Handler earlier = std::signal(signal, noteSignal);
  if (earlier == SIG_IGN) std::signal(signal, SIG_IGN);
  return earlier;
}

bool InterruptGuard::requested() const { return signalsSeen != 0; }

}  // namespace cronvel
