#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <latch>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "bench/TerminalCrowd.h"
#include "control/Cronvel.h"
#include "platform/Console.h"
#include "runtime/Text.h"

// What live monitoring of many terminals costs. Each control is on a thread of its own and switches
// its terminals on, one after another; all terminals make events from then on.

namespace cronvel {
namespace {

using Steady = std::chrono::steady_clock;

constexpr int firstPort = 18100;          // one for each control, on which its terminals connect in
constexpr double eventsPerSecond = 1000;  // of all terminals together, once they are on

double secondsSince(Steady::time_point start) {
  return std::chrono::duration<double>(Steady::now() - start).count();
}

double processorSeconds() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

/// Memory of this process that is its own.
double residentKiB() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("RssAnon:")) return std::stod(line.substr(8));
  return 0;
}

/// What came from one terminal.
struct Heard {
  Bytes begun;  ///< of an event
  bool on = false;
  std::vector<std::uint8_t> events = std::vector<std::uint8_t>(TerminalCrowd::mostEvents);
};

/// What the hosts of all controls share. Each writes only about its own terminals.
struct Plan {
  Plan(int itsControls, int itsTerminals)
      : controls(itsControls),
        terminals(itsTerminals),
        crowd(itsTerminals, eventsPerSecond / itsTerminals),
        heard(static_cast<std::size_t>(itsTerminals)) {}

  int controls;
  int terminals;
  TerminalCrowd crowd;
  std::vector<Heard> heard;
  std::atomic<std::int64_t> measureFrom = 0;  ///< when all are on
  std::atomic<bool> over = false;
};

/// One control and who hosts it.
class ControlHost : private __Cronvel {
 public:
  ControlHost(Plan& plan, int number) : mPlan(plan), mNumber(number) {
    mLatencies.reserve(100'000);
  }

  /// The whole life of its thread.
  void run(std::latch& made, std::latch& switched) {
    const auto platform = Platform::createUntraced();
    Container container;
    Cronvel control(*platform, container, *this);
    made.arrive_and_wait();
    const int port = firstPort + mNumber;
    const std::u16string host = u"terminal-" + toUtf16(std::to_string(port));
    for (int i = mNumber; i < mPlan.terminals; i += mPlan.controls) {
      mPlan.crowd.call(i, port);
      control.SetMonitoringOnGroup(host, true);
    }
    switched.count_down();
    while (!mPlan.over) platform->messagePump().waitEvents();
  }

  /// Milliseconds, once its thread has ended.
  const std::vector<double>& latencies() const { return mLatencies; }

 private:
  void WinSockDataReceived(Bytes& ReceivedData, std::int32_t, std::u16string&,
                           std::u16string& RemoteHostIP, std::int16_t&, std::int32_t&) override {
    const int terminal = TerminalCrowd::terminalAt(RemoteHostIP);
    Heard& heard = mPlan.heard[static_cast<std::size_t>(terminal)];
    heard.on = true;
    for (const std::uint8_t byte : ReceivedData) {
      if (heard.begun.empty() && byte == TerminalCrowd::done) continue;
      heard.begun.push_back(byte);
      if (heard.begun.size() == TerminalCrowd::eventSize) event(terminal, heard);
    }
  }

  void event(int terminal, Heard& heard) {
    const std::size_t running = heard.begun[6] * 256U + heard.begun[7];
    heard.begun.clear();
    ++heard.events.at(running);
    const std::int64_t sent = mPlan.crowd.sentAt(terminal, running);
    if (mPlan.measureFrom == 0 || sent < mPlan.measureFrom) return;
    const std::int64_t now = Steady::now().time_since_epoch() / std::chrono::nanoseconds(1);
    mLatencies.push_back(static_cast<double>(now - sent) / 1e6);
  }

  Plan& mPlan;
  int mNumber;
  std::vector<double> mLatencies;
};

struct Count {
  int on = 0, sent = 0, lost = 0, doubled = 0;
};

Count countAll(const Plan& plan) {
  Count count;
  for (int terminal = 0; terminal < plan.terminals; ++terminal) {
    const Heard& heard = plan.heard[static_cast<std::size_t>(terminal)];
    count.on += heard.on ? 1 : 0;
    for (std::size_t i = 0; i < TerminalCrowd::mostEvents; ++i) {
      const bool sent = plan.crowd.sentAt(terminal, i) != 0;
      count.sent += sent ? 1 : 0;
      count.lost += sent && heard.events[i] == 0 ? 1 : 0;
      count.doubled += std::max(heard.events[i] - 1, 0);
    }
  }
  return count;
}

/// For controls x terminals; the third argument is for how many seconds the terminals are heard
/// once all are on.
void Monitoring(benchmark::State& state) {
  raiseOpenFileLimit();
  for (auto _ : state) {
    Plan plan(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    std::vector<std::unique_ptr<ControlHost>> hosts;
    for (int i = 0; i < plan.controls; ++i) hosts.push_back(std::make_unique<ControlHost>(plan, i));
    std::latch made(plan.controls + 1), switched(plan.controls);
    std::vector<std::jthread> threads;
    threads.reserve(hosts.size());
    for (const auto& host : hosts) threads.emplace_back([&] { host->run(made, switched); });
    made.arrive_and_wait();
    const double before = residentKiB();
    const auto start = Steady::now();
    switched.wait();
    state.counters["switch_s"] = secondsSince(start);

    const auto measured = Steady::now();
    const double used = processorSeconds();
    plan.measureFrom = measured.time_since_epoch() / std::chrono::nanoseconds(1);
    std::this_thread::sleep_for(std::chrono::seconds(state.range(2)));
    state.counters["core_percent"] = 100 * (processorSeconds() - used) / secondsSince(measured);
    state.counters["KiB_per_terminal"] = (residentKiB() - before) / plan.terminals;
    plan.crowd.quiet();
    std::this_thread::sleep_for(std::chrono::seconds(1));  // all that is on its way comes
    plan.over = true;
    threads.clear();

    const Count count = countAll(plan);
    state.counters["on"] = count.on;
    state.counters["events"] = count.sent;
    state.counters["lost"] = count.lost;
    state.counters["doubled"] = count.doubled;
    std::vector<double> latencies;
    for (const auto& host : hosts)
      latencies.insert(latencies.end(), host->latencies().begin(), host->latencies().end());
    std::ranges::sort(latencies);
    if (latencies.empty() || count.on != plan.terminals)
      return state.SkipWithError("not all terminals were heard");
    state.counters["median_ms"] = latencies[latencies.size() / 2];
    state.counters["p99_ms"] = latencies[latencies.size() * 99 / 100];
    state.counters["per_second"] =
        static_cast<double>(latencies.size()) / static_cast<double>(state.range(2));
    if (count.lost != 0 || count.doubled != 0) state.SkipWithError("events lost or doubled");
  }
}
BENCHMARK(Monitoring)
    ->ArgNames({"controls", "terminals", "seconds"})
    ->Args({1, 1000, 20})
    ->Args({10, 3000, 20})
    ->Args({10, 200, 5})
    ->Args({3, 12, 2})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace cronvel
