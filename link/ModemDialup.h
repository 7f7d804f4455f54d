#pragma once

#include <cstdint>
#include <string>

#include "link/LinkState.h"
#include "link/SerialLink.h"
#include "platform/Platform.h"

namespace cronvel {

/// Makes and ends calls through a modem on the serial port. What there is to say it says to the
/// user itself, in message boxes.
class ModemDialup {
 public:
  ModemDialup(Platform& platform, SerialLink& serial, LinkState& state)
      : mPlatform(platform), mSerial(serial), mState(state) {}

  /// Dials `TelNum` by pulses, at 4800 baud whatever `BPS` says, and waits up to 120 s for a
  /// carrier. Returns
  ///   0  connected: the port is open and `DialupConnection` True
  ///   2  the line was busy and the user wanted no further attempt; the port is closed
  ///   3  no carrier came in time; the port is left open
  ///   4  `TelNum` is no telephone number ("0", empty, or it begins below the digit zero)
  ///  -1  the carrier was gone again as soon as it came
  /// In every other case than 0 `DialupConnection` is False. An open port is closed first. It does
  /// not hold `MonitoringON`: while that is True the modem's words are reported as monitoring data
  /// and a busy line is not recognised. Raises the port's errors; 8018 when the port is closed (by
  /// a `Hangup` in an event, say) while it waits.
  std::int16_t Dial();

  /// Ends the call and closes the port. False, and nothing else happens, when it was closed
  /// already. `DialupConnection` is False afterwards.
  bool Hangup();

 private:
  bool numberIsValid() const;
  void sendNumber();
  bool lineIsBusy();
  bool retryWanted();
  std::int16_t callResult();
  void closePort();
  void show(const std::u16string& prompt, const std::u16string& title);
  SerialPort& port() { return mSerial.port(); }

  Platform& mPlatform;
  SerialLink& mSerial;
  LinkState& mState;
};

}  // namespace cronvel
