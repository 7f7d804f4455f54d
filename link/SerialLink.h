#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "host/Host.h"
#include "link/ControlState.h"
#include "platform/Platform.h"

namespace cronvel {

/// The child serial port, the path by which unasked bytes reach the host, and the time-out that
/// counts ticks of `Timer2`.
class SerialLink {
 public:
  /// Makes the port and sets it up for binary input with a receive event for every byte. Its number
  /// and line settings are left alone.
  SerialLink(Platform& platform, Host& host, ControlState& state);

  SerialPort& port() { return *MSComm1; }
  const SerialPort& port() const { return *MSComm1; }

  /// Lets `timedOut` become True after that many ticks of a minute.
  void startTimeOut(std::int16_t ticks);
  bool timedOut() const { return mTimedOut; }
  /// Ends the wait, or forgets that it has ended.
  void stopTimeOut();

 private:
  /// One event to be.
  struct Delivery {
    Bytes bytes;
    std::int16_t count;
  };

  void OnComm();
  void keep(Bytes bytes, std::int32_t count);
  void Timer2Tick();

  ControlState& mState;
  __Cronvel& mEvents;
  std::unique_ptr<SerialPort> MSComm1;
  std::unique_ptr<Timer> Timer2;
  std::int16_t mTimerTicks = 0;
  std::int16_t mTimerLimit = 0;
  bool mTimedOut = false;
  std::deque<Delivery> mUndelivered;
};

}  // namespace cronvel
