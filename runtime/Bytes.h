#pragma once

#include <cstdint>
#include <vector>

namespace cronvel {

/// A zero-based growable array of bytes: received blocks, event payloads, table arguments.
using Bytes = std::vector<std::uint8_t>;

}  // namespace cronvel
