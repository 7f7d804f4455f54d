#include "platform/reactor/ReactorTimer.h"

#include <algorithm>
#include <chrono>

#include "platform/reactor/CallOut.h"

namespace cronvel {
namespace {

using std::chrono::steady_clock;

class ReactorTimer : public Timer {
 public:
  explicit ReactorTimer(Reactor& reactor) : mWatch(reactor.watch([this](short) { tick(); })) {}

  void Interval(std::int32_t milliseconds) override {
    mInterval = std::chrono::milliseconds(std::max(milliseconds, 1));
    if (mEnabled) arm();
  }

  bool Enabled() const override { return mEnabled; }

  void Enabled(bool enabled) override {
    mEnabled = enabled;
    if (enabled)
      arm();
    else
      mWatch.cancelCall();
  }

  void onTimer(std::function<void()> handler) override { mHandler = std::move(handler); }

 private:
  void arm() { mWatch.callAt(steady_clock::now() + mInterval); }

  void tick() {
    arm();  // before the handler, which may switch the timer off or destroy it
    if (mCallOut.running() || !mHandler) return;
    const CallOut::Scope scope(mCallOut);
    const auto handler = mHandler;
    handler();
  }

  std::chrono::milliseconds mInterval{1};
  bool mEnabled = false;
  std::function<void()> mHandler;
  CallOut mCallOut;
  Reactor::Watch mWatch;
};

}  // namespace

std::unique_ptr<Timer> makeTimer(Reactor& reactor) {
  return std::make_unique<ReactorTimer>(reactor);
}

}  // namespace cronvel
