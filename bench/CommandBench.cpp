#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <thread>
#include <vector>

#include "control/Cronvel.h"
#include "runtime/File.h"
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

constexpr int loopbackPort = 18099;

/// A peer that connects to the port of this machine, and tries until it can.
class Peer {
 public:
  Peer() {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(loopbackPort);
    for (;;) {
      mSocket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
      if (::connect(mSocket, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0) return;
      ::close(mSocket);
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  ~Peer() { ::close(mSocket); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  void receive(std::size_t count) const {
    Bytes bytes(count);
    ::recv(mSocket, bytes.data(), count, MSG_WAITALL);
  }
  void send(const Bytes& bytes) const { ::send(mSocket, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

 private:
  int mSocket = -1;
};

/// What a pass costs beside so many connections on which nothing happens, as a multiple of what it
/// costs alone.
void PassBesideIdleConnections(benchmark::State& state) {
  class Taker : public SocketEvents {
   public:
    explicit Taker(SocketArray& array) : sockets(array) { sockets.setEvents(this); }
    void ConnectionRequest(std::int16_t, std::int32_t requestID) override {
      sockets.load(++taken);
      sockets.at(taken).Accept(requestID);
    }
    SocketArray& sockets;
    std::int16_t taken = 0;
  };
  const auto platform = Platform::create();
  MessagePump& pump = platform->messagePump();
  const auto sockets = platform->makeSocketArray();
  Taker taker(*sockets);
  const auto secondsOfPasses = [&] {
    constexpr int passes = 200'000;
    const auto start = Steady::now();
    for (int i = 0; i < passes; ++i) pump.DoEvents();
    return secondsSince(start);
  };
  sockets->at(0).LocalPort(loopbackPort);
  sockets->at(0).Listen();
  const double alone = secondsOfPasses();
  std::vector<std::unique_ptr<Peer>> peers;
  while (taker.taken < state.range(0)) {
    peers.push_back(std::make_unique<Peer>());
    while (taker.taken < std::ssize(peers)) pump.waitEvents();
  }
  for (auto _ : state) state.counters["times_alone"] = secondsOfPasses() / alone;
}
BENCHMARK(PassBesideIdleConnections)->Arg(400)->Iterations(1)->Unit(benchmark::kMillisecond);

/// Of about that size.
Bytes recordStream(std::size_t size) {
  Bytes stream{0xBB, 0x31, 0x12, 0x07};
  while (stream.size() < size) stream.insert(stream.end(), {0x12, 0x34, 0x08, 0x30});
  const Bytes trailer{0xE3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE3};
  stream.insert(stream.end(), trailer.begin(), trailer.end());
  return stream;
}

/// The speed of a download from a terminal that is never slower, as a share of the speed of a loop
/// that writes one byte and makes one pass.
void DownloadOverLoopback(benchmark::State& state) {
  const auto folder = std::filesystem::temp_directory_path() / "cronvel-bench-download";
  std::filesystem::create_directories(folder);
  const char* wanted = std::getenv("CRONVEL_BENCH_DOWNLOAD");
  const Bytes stream = recordStream(wanted != nullptr ? std::stoul(wanted) : 4'000'000);
  const auto platform = Platform::create();
  Container container;
  __Cronvel events;
  Cronvel control(*platform, container, events);
  control.WinSockLocalPort(loopbackPort);
  control.SetWinSockTCPMode(0);
  for (auto _ : state) {
    Steady::time_point begun;
    std::atomic<bool> over = false;
    std::jthread terminal([&] {
      const Peer peer;
      peer.receive(4);
      begun = Steady::now();
      peer.send(stream);
      while (!over) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    });
    if (control.GetData(u"terminal", (folder / "records.Hex").u16string()) != 0)
      state.SkipWithError("the records did not come whole");
    constexpr double silenceAtItsEnd = 5;
    const double download = secondsSince(begun) - silenceAtItsEnd;
    over = true;
    terminal.join();

    const auto start = Steady::now();
    File file(folder / "loop", File::Access::output);
    for (const std::uint8_t byte : stream) {
      file.write({&byte, 1});
      platform->messagePump().DoEvents();
    }
    file.close();
    state.counters["of_loop_speed"] = secondsSince(start) / download;
  }
  std::filesystem::remove_all(folder);
}
BENCHMARK(DownloadOverLoopback)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace cronvel
