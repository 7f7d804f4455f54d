#pragma once

#include <cstddef>
#include <vector>

#include "simulator/memory/RecordMemory.h"

namespace cronvel::simulator {

/// What goes out when a command is answered. Times are milliseconds.
struct Answer {
  bool stream = false;                ///< records, at the pace of the line; else a reply, at once
  Bytes noise{};                      ///< goes out right before the rest, in one piece with it
  RecordStream content{};             ///< of a reply only its bytes
  int delay = 0;                      ///< from the command's last byte, at least
  std::vector<std::size_t> pauses{};  ///< after so many bytes, those of the noise included
  int pause = 0;                      ///< length of these pauses
  bool silent = false;                ///< never goes out
  bool hangUp = false;                ///< network: the connection is closed instead
  std::uint32_t seed = 1;             ///< for faults that choose at random
};

}  // namespace cronvel::simulator
