#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace cronvel {

/// Many terminals in a process of their own, each at an address of its own (127.x.y.z), that
/// connect in when they are called and then make events: at random times, so that some come at
/// once.
///
/// A terminal answers the monitoring switch with 24 after 120 ms. Its events are as the simulated
/// terminal's: 0xED, its address, card (2 bytes), hour, minute, running number (2 bytes, from 0).
class TerminalCrowd {
 public:
  static constexpr std::size_t eventSize = 8, mostEvents = 400;
  static constexpr std::uint8_t eventStart = 0xED, done = 24;

  /// `eventsPerSecond`: of each terminal. To be made before this process has a second thread.
  TerminalCrowd(int terminals, double eventsPerSecond);
  ~TerminalCrowd();
  TerminalCrowd(const TerminalCrowd&) = delete;
  TerminalCrowd& operator=(const TerminalCrowd&) = delete;

  /// Has the terminal connect to that port of this machine, and try until it can. From any thread.
  void call(int terminal, int port) const;
  /// No more events.
  void quiet() const;

  /// What is told as a peer's address.
  static std::string addressOf(int terminal);
  static int terminalAt(std::u16string_view address);
  /// Nanoseconds of the steady clock when that event left; 0: it did not.
  std::int64_t sentAt(int terminal, std::size_t running) const;

 private:
  void run();

  using Times = std::span<std::atomic<std::int64_t>>;
  int mTerminals;
  double mRate;
  Times mSentAt;  ///< memory that both processes see
  int mCalls = -1;
  pid_t mProcess = 0;
};

}  // namespace cronvel
