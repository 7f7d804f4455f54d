#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"

namespace cronvel {

/// Makes and ends calls through a modem on the serial port. What there is to say it says to the
/// user itself, in message boxes.
class ModemDialup {
 public:
  /// Whether the serial line goes through a dial-up modem. Commands then refuse to run without a
  /// carrier and leave the line settings alone.
  bool DialupConnection() const { return mLinks.state.DialupConnection; }
  void DialupConnection(bool New_DialupConnection);

  /// The telephone number to dial; "0" at first.
  std::u16string TelNum() const { return mLinks.state.TelNum; }
  void TelNum(const std::u16string& New_TelNum);

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

 protected:
  explicit ModemDialup(DeviceLinks& links) : mLinks(links) {}
  ~ModemDialup() = default;

 private:
  bool numberIsValid() const;
  void sendNumber();
  bool lineIsBusy();
  bool retryWanted();
  std::int16_t callResult();
  void closePort();
  void show(const std::u16string& prompt, const std::u16string& title);
  SerialPort& port() { return mLinks.serial.port(); }

  DeviceLinks& mLinks;
};

}  // namespace cronvel
