#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace cronvel {

/// How the PC's port is set at the moment.
struct LineSettings {
  enum class Parity { none, odd, even, mark, space };
  std::int32_t speed = 0;  ///< baud; 0 while nobody has the port open
  Parity parity = Parity::none;
  bool operator==(const LineSettings&) const = default;
};

/// The devices' end of a serial line: what is wired to the PC's port. For simulated devices.
/// Everything runs on the thread that made it.
class SerialLineEnd {
 public:
  virtual ~SerialLineEnd() = default;
  /// What the PC opens as its port.
  virtual std::string path() const = 0;
  /// How the PC's port is set now.
  virtual LineSettings settings() const = 0;
  /// Puts bytes on the line towards the PC. They are lost while nobody has the port open.
  virtual void send(std::span<const std::uint8_t> bytes) = 0;
  /// Called inside a pump pass for bytes from the PC, with the settings that the port had when they
  /// were noticed. (A change of settings right behind a byte can be attributed to it; a pause of
  /// some milliseconds between them makes the report reliable.)
  virtual void onReceive(
      std::function<void(std::span<const std::uint8_t>, const LineSettings&)> handler) = 0;
};

}  // namespace cronvel
