#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "platform/SerialLineEnd.h"

namespace cronvel::simulator {

/// What leads from the terminals to the PC: a serial line, a call or a network connection.
class Wire {
 public:
  virtual ~Wire() = default;
  virtual void send(std::span<const std::uint8_t> bytes) = 0;
  /// How the PC's port is set now; nothing on the network.
  virtual std::optional<LineSettings> settings() const = 0;
  /// Ends a network connection; nothing on a serial line.
  virtual void hangUp() = 0;
};

/// "mark", "space", "none", "odd" or "even".
std::string parityText(LineSettings::Parity parity);
/// "600 baud with parity mark".
std::string settingsText(const LineSettings& settings);

}  // namespace cronvel::simulator
