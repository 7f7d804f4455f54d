#pragma once

#include <optional>

#include "link/DeviceLinks.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// How a command reads the network's part of a stream.
enum class StreamReading {
  direct,   ///< from the socket itself: the host sees no event
  asEvents  ///< what the host is told as an event too
};

/// The blocks of an answer that only silence ends.
class BlockStream {
 public:
  virtual ~BlockStream() = default;
  virtual std::optional<Bytes> take() = 0;
  /// While a block is being used, the next one has to stay where it is.
  virtual void busy(bool /*on*/) {}
};

/// The next block; nothing once 5 s have passed in silence.
std::optional<Bytes> nextBlock(DeviceLinks& links, BlockStream& stream);

}  // namespace cronvel
