#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "simulator/base/Journal.h"
#include "simulator/device/DeviceClock.h"
#include "simulator/display/Display.h"
#include "simulator/memory/RecordMemory.h"

namespace cronvel::simulator {

/// What a terminal keeps: its commands set it and read it.
struct Device {
  int number;  ///< 0 to 159
  DeviceClock clock;
  RecordMemory memory;

  int keypad = 0;
  std::optional<DateRange> daylight{};
  bool monitored = false;

  std::set<int> cards{};
  std::size_t cardCapacity = 5000;
  std::string cardTable{};

  bool reader = true;
  bool access = true;
  int mainGroup = 0;
  int subGroup = 0;
  std::string code4{};
  std::string code10{};
  std::size_t alarmBytes = 0;

  Display message{};
  int mode = 0;
  std::array<Display, 8> modeNames{};
  std::string activeModes = "TTTTTTTT";

  /// The byte that selects it.
  std::uint8_t address() const;
  /// What its display and settings show now, for a person and for a program.
  std::string text() const;
  Json fields() const;
};

/// "21/03-22/09", or "none".
std::string rangeText(const std::optional<DateRange>& range);

}  // namespace cronvel::simulator
