#pragma once

#include "platform/SerialLineEnd.h"

namespace cronvel {

/// What the keeper of a serial line says to its test: each byte that came and the settings it came
/// under, or without a byte the answer to a question. The first ones are the line's path.
/// From the test come pairs of bytes: 1 and a byte to send, or two zeros, which ask for an answer.
struct LineReport {
  LineSettings settings;
  std::int32_t byte = -1;  ///< or none
};

}  // namespace cronvel
