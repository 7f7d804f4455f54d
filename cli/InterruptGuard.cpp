#include "cli/InterruptGuard.h"

#include <array>
#include <atomic>
#include <csignal>

namespace cronvel {

namespace {

struct Signal {
  int number;
  void (*earlier)(int);
};

std::array signals{
    Signal{SIGINT, SIG_DFL},   Signal{SIGTERM, SIG_DFL},
#ifdef SIGHUP
    Signal{SIGHUP, SIG_DFL},   Signal{SIGPIPE, SIG_DFL},
#endif
#ifdef SIGBREAK
    Signal{SIGBREAK, SIG_DFL},  // Windows: the console is closed
#endif
};

std::atomic<int> signalsSeen = 0;
std::atomic<bool> interrupted = false;
std::atomic<Cronvel*> driven = nullptr;

/// Each further line that is written brings another of these.
bool isOfOutput([[maybe_unused]] int signal) {
#ifdef SIGPIPE
  return signal == SIGPIPE;
#else
  return false;
#endif
}

}  // namespace

extern "C" {
static void noteSignal(int signal) {
  std::signal(signal, isOfOutput(signal) || ++signalsSeen < 2 ? noteSignal : SIG_DFL);
  interrupted = true;
  if (Cronvel* const control = driven) control->endCommand();
}
}

InterruptGuard::InterruptGuard(Cronvel& control) {
  signalsSeen = 0;
  interrupted = false;
  driven = &control;
  for (Signal& signal : signals) {
    signal.earlier = std::signal(signal.number, noteSignal);
    if (signal.earlier == SIG_IGN) std::signal(signal.number, SIG_IGN);
  }
}

InterruptGuard::~InterruptGuard() {
  driven = nullptr;
  if (signalsSeen > 0) return;
  for (const Signal& signal : signals) std::signal(signal.number, signal.earlier);
}

bool InterruptGuard::requested() const { return interrupted; }

void InterruptGuard::forget() { interrupted = false; }

}  // namespace cronvel
