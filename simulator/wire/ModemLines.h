#pragma once

#include <cstdint>
#include <string>

namespace cronvel::simulator {

/// The modem lines of a serial line that has none, as a file between the modem and the program at
/// the other end (of which a test makes its port see them). Three bytes:
///
///   0  carrier detect, 0 or 1; the modem's
///   1  data terminal ready, 0 or 1; the program's
///   2  how often data terminal ready has fallen, modulo 256; the program's. A fall is short; who
///      looks now and then would miss it in byte 1.
class ModemLines {
 public:
  /// Makes the file anew, with all lines down. Without a name there are no lines: nothing is
  /// written, and data terminal ready never falls.
  explicit ModemLines(std::string file);
  /// The carrier goes with the modem.
  ~ModemLines();
  ModemLines(const ModemLines&) = delete;
  ModemLines& operator=(const ModemLines&) = delete;

  void carrier(bool on);
  /// Whether data terminal ready has fallen since the last call.
  bool dtrFell();

 private:
  std::string mFile;
  std::uint8_t mFalls = 0;
};

}  // namespace cronvel::simulator
