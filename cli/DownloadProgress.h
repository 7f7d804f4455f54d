#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "cli/TerminalSession.h"

namespace cronvel {

/// Follows a growing file and shows on one line how it goes, if a person watches.
class DownloadProgress {
 public:
  explicit DownloadProgress(TerminalSession& session) : mSession(session) {}
  ~DownloadProgress() { clear(); }
  DownloadProgress(const DownloadProgress&) = delete;
  DownloadProgress& operator=(const DownloadProgress&) = delete;

  void waiting(const std::string& forWhat);
  void arrived(std::uintmax_t bytes);
  /// Takes the line away, so that other text can follow.
  void clear() { mSession.progress({}); }

  /// "4356 bytes in 5.0 s", from the first bytes to the last.
  std::string summary() const;
  /// As last seen, but for a file that was emptied.
  std::uintmax_t bytes() const { return mBytes; }

 private:
  using SteadyClock = std::chrono::steady_clock;

  double secondsSinceStart() const;
  double secondsOfStream() const;

  TerminalSession& mSession;
  SteadyClock::time_point mStart = SteadyClock::now();
  SteadyClock::time_point mLastLook = mStart;
  SteadyClock::time_point mFirst;  ///< the last look that found nothing yet
  SteadyClock::time_point mLast;   ///< the first look that found all
  std::uintmax_t mBytes = 0;
};

}  // namespace cronvel
