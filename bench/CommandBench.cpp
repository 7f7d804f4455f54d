#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <thread>
#include <vector>

#include "control/Cronvel.h"
#include "runtime/Text.h"

// What a command costs beyond what its pauses and waits prescribe, on the real platform.

namespace cronvel {
namespace {

using Steady = std::chrono::steady_clock;

double secondsSince(Steady::time_point start) {
  return std::chrono::duration<double>(Steady::now() - start).count();
}

/// The far end of a serial line, on a thread of its own. It answers 24 some time after the last
/// byte of a command; without a count it stays silent.
class FarEnd {
 public:
  explicit FarEnd(std::size_t bytesOfCommand) : mBytes(bytesOfCommand), mThread([this] { run(); }) {
    while (!mReady) std::this_thread::yield();
  }
  ~FarEnd() {
    mStop = true;
    mThread.join();
  }
  FarEnd(const FarEnd&) = delete;
  FarEnd& operator=(const FarEnd&) = delete;

  const std::string& path() const { return mPath; }
  Steady::time_point answeredAt() const { return mAnsweredAt; }

 private:
  void run() {
    const auto platform = Platform::create();
    const auto line = platform->makeSerialLineEnd({});
    std::size_t received = 0;
    line->onReceive([&](std::span<const std::uint8_t> bytes, const LineSettings&) {
      received += bytes.size();
      if (mBytes == 0 || received < mBytes) return;
      received = 0;
      platform->clock().sleep(120);
      mAnsweredAt = Steady::now();
      line->send(Bytes{24});
    });
    mPath = line->path();
    mReady = true;
    while (!mStop) {
      platform->messagePump().waitEvents();
      if (mBytes == 0) platform->clock().sleep(500);  // so that only the control's work is counted
    }
  }

  std::size_t mBytes;
  std::string mPath;
  std::atomic<Steady::time_point> mAnsweredAt{};
  std::atomic<bool> mReady = false;
  std::atomic<bool> mStop = false;
  std::thread mThread;
};

struct Bench {
  explicit Bench(const std::string& path) {
    platform->mapCommPort(1, path);
    control = std::make_unique<Cronvel>(*platform, container, events);
  }
  std::unique_ptr<Platform> platform = Platform::create();
  Container container;
  __Cronvel events;
  std::unique_ptr<Cronvel> control;
};

/// Share of a core that a 5-second wait for a silent terminal takes.
void SilentWait(benchmark::State& state) {
  const FarEnd silent(0);
  const Bench bench(silent.path());
  for (auto _ : state) {
    const std::clock_t cpu = std::clock();
    const auto start = Steady::now();
    if (bench.control->TestConnection({})) state.SkipWithError("a silent terminal answered");
    const double used = static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC;
    state.counters["core_percent"] = 100 * used / secondsSince(start);
  }
}
BENCHMARK(SilentWait)->Iterations(1)->Unit(benchmark::kSecond);

/// From the terminal's answer to the command's return.
void ReplyTaken(benchmark::State& state) {
  const FarEnd answering(3);
  const Bench bench(answering.path());
  std::vector<double> milliseconds;
  for (auto _ : state) {
    if (!bench.control->TestConnection({})) state.SkipWithError("the terminal did not answer");
    milliseconds.push_back(1000 * secondsSince(answering.answeredAt()));
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  state.counters["median_ms"] = milliseconds[milliseconds.size() / 2];
  state.counters["worst_ms"] = milliseconds.back();
}
BENCHMARK(ReplyTaken)->Iterations(30)->Unit(benchmark::kMillisecond);

/// What a command that awaits no reply takes beyond its three pauses of 50 ms.
void CommandBeyondItsPauses(benchmark::State& state) {
  const FarEnd silent(0);
  const Bench bench(silent.path());
  bench.control->ReaderOn(true);  // opens the port
  double elapsed = 0;
  for (auto _ : state) {
    bench.platform->clock().sleep(50);  // the last byte of the command before is still on the wire
    const auto start = Steady::now();
    bench.control->ReaderOn(true);
    elapsed += secondsSince(start);
  }
  const double pauses = 0.150 * static_cast<double>(state.iterations());
  state.counters["beyond_percent"] = 100 * (elapsed - pauses) / pauses;
}
BENCHMARK(CommandBeyondItsPauses)->Iterations(20)->Unit(benchmark::kMillisecond);

/// A pass of the pump with nothing to do: what a download pays for each byte.
void IdlePass(benchmark::State& state) {
  const FarEnd silent(0);
  const Bench bench(silent.path());
  bench.control->ReaderOn(true);
  for (auto _ : state) bench.platform->messagePump().DoEvents();
}
BENCHMARK(IdlePass);

}  // namespace
}  // namespace cronvel
