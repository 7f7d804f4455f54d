#include "cli/DownloadProgress.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace cronvel {

namespace {

std::string oneDecimal(double number) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << number;
  return text.str();
}

}  // namespace

void DownloadProgress::waiting(const std::string& forWhat) {
  mSession.progress("waiting for " + forWhat + ", " + oneDecimal(secondsSinceStart()) + " s");
}

void DownloadProgress::arrived(std::uintmax_t bytes) {
  const auto now = SteadyClock::now();
  if (bytes > mBytes) {
    if (mBytes == 0) mFirst = mLastLook;
    mLast = now;
    mBytes = bytes;
  }
  mLastLook = now;
  const double seconds = secondsOfStream();
  const double speed = seconds > 0 ? static_cast<double>(bytes) / seconds : 0;
  mSession.progress(std::to_string(bytes) + " bytes, " + std::to_string(static_cast<long>(speed)) +
                    " B/s, " + oneDecimal(secondsSinceStart()) + " s elapsed");
}

std::string DownloadProgress::summary() const {
  return std::to_string(mBytes) + (mBytes == 1 ? " byte" : " bytes") + " in " +
         oneDecimal(secondsOfStream()) + " s";
}

double DownloadProgress::secondsSinceStart() const {
  return std::chrono::duration<double>(SteadyClock::now() - mStart).count();
}

double DownloadProgress::secondsOfStream() const {
  return std::chrono::duration<double>(mLast - mFirst).count();
}

}  // namespace cronvel
