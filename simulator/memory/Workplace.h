#pragma once

#include <cstdint>
#include <vector>

#include "simulator/memory/RecordMemory.h"

namespace cronvel::simulator {

/// The place whose people used the terminal. The same values always give the same records.
struct Workplace {
  int cards = 20;
  int days = 30;  ///< calendar days; nobody works on Fridays
  std::uint32_t seed = 1;
  int idDigits = 4;
  Date start{26, 3, 1};  ///< first day
};

/// The days on which somebody came: everybody in and out around the times of a shift, with some
/// lunches, missions, leaves and absences. Throws std::invalid_argument for values that cannot be
/// (negative, a start date that does not exist, more cards than numbers of that length).
std::vector<Day> makeDays(const Workplace& workplace);

}  // namespace cronvel::simulator
