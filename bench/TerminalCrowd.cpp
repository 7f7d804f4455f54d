#include "bench/TerminalCrowd.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <queue>
#include <random>
#include <system_error>
#include <vector>

namespace cronvel {
namespace {

using Steady = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto replyDelay = milliseconds(120), retryDelay = milliseconds(2);
constexpr std::size_t switchSize = 4;
constexpr int quietCall = -1;

struct Call {
  int terminal;
  int port;
};

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

in_addr hostOf(int terminal) {
  return {htonl((127U << 24) + (1U << 16) + static_cast<std::uint32_t>(terminal))};
}

sockaddr_in endPoint(in_addr host, int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr = host;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  return address;
}

/// The terminals' side, all of them on one thread.
class Terminals {
 public:
  Terminals(int calls, int terminals, double eventsPerSecond,
            std::span<std::atomic<std::int64_t>> sentAt)
      : mCalls(calls),
        mInterval(1 / eventsPerSecond),
        mSentAt(sentAt),
        mTerminals(static_cast<std::size_t>(terminals)) {
    watch(mCalls, static_cast<std::uint32_t>(terminals));
  }

  /// Until nobody can call any more.
  void run() {
    std::array<epoll_event, 64> ready{};
    while (!mOver) {
      const int count = epoll_wait(mEpoll, ready.data(), ready.size(), untilNextPlan());
      for (int i = 0; i < count; ++i) serve(ready[static_cast<std::size_t>(i)].data.u32);
      while (!mPlans.empty() && mPlans.top().time <= Steady::now()) {
        const Plan next = mPlans.top();
        mPlans.pop();
        next.action();
      }
    }
  }

 private:
  struct Terminal {
    int socket = -1;
    std::size_t received = 0;
    std::size_t events = 0;
  };
  struct Plan {
    Steady::time_point time;
    std::function<void()> action;
    bool operator<(const Plan& other) const { return time > other.time; }
  };

  void watch(int file, std::uint32_t tag) const {
    epoll_event wanted{EPOLLIN, {.u32 = tag}};
    if (epoll_ctl(mEpoll, EPOLL_CTL_ADD, file, &wanted) != 0) fail("watching");
  }
  void plan(Steady::duration wait, std::function<void()> action) {
    mPlans.push({Steady::now() + wait, std::move(action)});
  }
  int untilNextPlan() const {
    if (mPlans.empty()) return 100;
    const auto wait = std::chrono::ceil<milliseconds>(mPlans.top().time - Steady::now());
    return static_cast<int>(std::max<long long>(wait.count(), 0));
  }

  void serve(std::uint32_t tag) {
    if (tag == mTerminals.size()) return takeCall();
    std::array<std::uint8_t, 256> bytes{};
    Terminal& terminal = mTerminals[tag];
    const ssize_t count = ::recv(terminal.socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count == 0 || (count < 0 && errno != EAGAIN)) return hangUp(terminal);
    terminal.received += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    if (terminal.received != switchSize) return;
    plan(replyDelay, [this, tag] {
      send(mTerminals[tag], std::array{TerminalCrowd::done});
      planEvent(tag);
    });
  }

  void takeCall() {
    Call call{};
    if (::read(mCalls, &call, sizeof call) != sizeof call)
      mOver = true;
    else if (call.terminal == quietCall)
      mQuiet = true;
    else
      connect(call);
  }

  void connect(const Call& call) {
    Terminal& terminal = mTerminals[static_cast<std::size_t>(call.terminal)];
    terminal.socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (terminal.socket < 0) fail("socket");
    constexpr int on = 1;
    ::setsockopt(terminal.socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const sockaddr_in own = endPoint(hostOf(call.terminal), 0);
    const sockaddr_in peer = endPoint({htonl(INADDR_LOOPBACK)}, call.port);
    if (::bind(terminal.socket, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0)
      fail("bind");
    if (::connect(terminal.socket, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0)
      return watch(terminal.socket, static_cast<std::uint32_t>(call.terminal));
    hangUp(terminal);
    plan(retryDelay, [this, call] { connect(call); });
  }

  void planEvent(std::uint32_t tag) {
    const double wait = -std::log(1 - std::uniform_real_distribution<>()(mRandom)) * mInterval;
    plan(std::chrono::duration_cast<Steady::duration>(std::chrono::duration<double>(wait)),
         [this, tag] {
           Terminal& terminal = mTerminals[tag];
           if (mQuiet || terminal.socket < 0 || terminal.events == TerminalCrowd::mostEvents)
             return;
           makeEvent(terminal, tag);
           planEvent(tag);
         });
  }

  void makeEvent(Terminal& terminal, std::uint32_t tag) {
    const std::size_t running = terminal.events++;
    mSentAt[tag * TerminalCrowd::mostEvents + running] =
        Steady::now().time_since_epoch() / std::chrono::nanoseconds(1);
    const auto byte = [](std::size_t value) { return static_cast<std::uint8_t>(value); };
    send(terminal, std::array<std::uint8_t, TerminalCrowd::eventSize>{
                       TerminalCrowd::eventStart, 1, byte(tag / 256), byte(tag), 8, 0,
                       byte(running / 256), byte(running)});
  }

  template <std::size_t size>
  void send(Terminal& terminal, const std::array<std::uint8_t, size>& bytes) {
    if (terminal.socket >= 0 && ::send(terminal.socket, bytes.data(), size, MSG_NOSIGNAL) < 0)
      hangUp(terminal);
  }
  static void hangUp(Terminal& terminal) {
    ::close(terminal.socket);
    terminal.socket = -1;
  }

  int mEpoll = epoll_create1(EPOLL_CLOEXEC);
  int mCalls;
  double mInterval;
  std::span<std::atomic<std::int64_t>> mSentAt;
  std::vector<Terminal> mTerminals;
  std::priority_queue<Plan> mPlans;
  std::mt19937 mRandom{1};
  bool mQuiet = false;
  bool mOver = false;
};

}  // namespace

TerminalCrowd::TerminalCrowd(int terminals, double eventsPerSecond)
    : mTerminals(terminals), mRate(eventsPerSecond) {
  const std::size_t count = static_cast<std::size_t>(terminals) * mostEvents;
  void* memory = ::mmap(nullptr, count * sizeof(std::atomic<std::int64_t>), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) fail("mmap");
  mSentAt = {static_cast<std::atomic<std::int64_t>*>(memory), count};  // zeros
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) fail("pipe");
  std::fflush(nullptr);
  mProcess = ::fork();
  if (mProcess < 0) fail("fork");
  mCalls = mProcess == 0 ? ends[0] : ends[1];
  ::close(mProcess == 0 ? ends[1] : ends[0]);
  if (mProcess == 0) run();
}

TerminalCrowd::~TerminalCrowd() {
  ::close(mCalls);
  int status = 0;
  ::waitpid(mProcess, &status, 0);
  ::munmap(mSentAt.data(), mSentAt.size_bytes());
}

void TerminalCrowd::run() {
  try {
    Terminals(mCalls, mTerminals, mRate, mSentAt).run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "the terminals: %s\n", error.what());
  }
  std::_Exit(0);
}

void TerminalCrowd::call(int terminal, int port) const {
  const Call call{terminal, port};
  if (::write(mCalls, &call, sizeof call) != sizeof call) fail("calling a terminal");
}

void TerminalCrowd::quiet() const { call(quietCall, 0); }

std::string TerminalCrowd::addressOf(int terminal) {
  std::array<char, INET_ADDRSTRLEN> text{};
  const in_addr host = hostOf(terminal);
  inet_ntop(AF_INET, &host, text.data(), text.size());
  return text.data();
}

int TerminalCrowd::terminalAt(std::u16string_view address) {
  in_addr host{};
  inet_pton(AF_INET, std::string(address.begin(), address.end()).c_str(), &host);
  return static_cast<int>(ntohl(host.s_addr) & 0xFFFFU);
}

std::int64_t TerminalCrowd::sentAt(int terminal, std::size_t running) const {
  return mSentAt[static_cast<std::size_t>(terminal) * mostEvents + running];
}

}  // namespace cronvel
