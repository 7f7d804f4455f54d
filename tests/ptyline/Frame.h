#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/SerialLineEnd.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// What a test and the keeper of its serial line say to each other: a letter, the length of the
/// content (4 bytes, the lowest first) and the content.
struct Frame {
  static constexpr char path = 'P', received = 'R', settings = 'A';  // to the test
  static constexpr char send = 'S', ask = 'Q';                       // from the test

  char kind;
  Bytes content;

  Bytes encoded() const {
    Bytes bytes{static_cast<std::uint8_t>(kind)};
    appendNumber(bytes, static_cast<std::uint32_t>(content.size()));
    bytes.insert(bytes.end(), content.begin(), content.end());
    return bytes;
  }

  /// Takes the first frame off the bytes, if it is there as a whole.
  static std::optional<Frame> takeFrom(Bytes& bytes) {
    constexpr std::size_t head = 5;
    if (bytes.size() < head) return std::nullopt;
    const std::size_t size = head + numberAt(std::span(bytes).subspan(1));
    if (bytes.size() < size) return std::nullopt;
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(size);
    Frame frame{static_cast<char>(bytes[0]), Bytes(bytes.begin() + head, end)};
    bytes.erase(bytes.begin(), end);
    return frame;
  }

  /// A line's settings, with the bytes that came under them behind.
  static Bytes withSettings(const LineSettings& settings, std::span<const std::uint8_t> bytes) {
    Bytes content;
    appendNumber(content, static_cast<std::uint32_t>(settings.speed));
    content.push_back(static_cast<std::uint8_t>(settings.parity));
    content.insert(content.end(), bytes.begin(), bytes.end());
    return content;
  }
  LineSettings settingsInside() const {
    return {static_cast<std::int32_t>(numberAt(content)),
            static_cast<LineSettings::Parity>(content.at(4))};
  }
  std::span<const std::uint8_t> bytesInside() const { return std::span(content).subspan(5); }

 private:
  static void appendNumber(Bytes& bytes, std::uint32_t number) {
    for (int shift = 0; shift < 32; shift += 8)
      bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  }
  static std::uint32_t numberAt(std::span<const std::uint8_t> bytes) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i) number |= std::uint32_t{bytes[i]} << (8 * i);
    return number;
  }
};

}  // namespace cronvel
