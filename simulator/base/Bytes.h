#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace cronvel::simulator {

using Bytes = std::vector<std::uint8_t>;

/// Bytes of a command: those after its code, or a part of them.
using Payload = std::span<const std::uint8_t>;

}  // namespace cronvel::simulator
