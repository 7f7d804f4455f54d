#pragma once

#include <termios.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/SerialLineEnd.h"

namespace cronvel {

/// What a settings text such as "600,m,8,1" says.
struct SerialSettings {
  speed_t speedCode = B9600;
  std::int32_t speed = 9600;
  LineSettings::Parity parity = LineSettings::Parity::none;
  int dataBits = 8;
  bool longStop = false;  ///< two stop bits (with 5 data bits, one and a half)

  /// Raises 380.
  static SerialSettings parse(std::string_view text);

  /// Sets speed and frame, leaves everything else.
  void applyTo(termios& line) const;
  /// What of the frame and speed `line` lacks, as the subject of a sentence; empty if nothing. A
  /// pty keeps no parity-enable flag, so that one is not looked at.
  std::string missingIn(const termios& line) const;
  /// Bits that a byte takes on the wire.
  int bitsPerByte() const;
};

/// Bytes pass unchanged both ways: no echo, no signals, no translation, no parity marking.
void makeRaw(termios& line);
bool isRaw(const termios& line);

/// What the line's other end sees of its settings.
LineSettings lineSettingsOf(const termios& line);

}  // namespace cronvel
