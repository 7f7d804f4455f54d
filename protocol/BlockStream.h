#pragma once

#include <memory>
#include <optional>

#include "link/DeviceLinks.h"
#include "protocol/DeviceLine.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// The blocks of an answer that only silence ends.
class BlockStream {
 public:
  /// What arrives on the command's line.
  static std::unique_ptr<BlockStream> ofLine(DeviceLine& line);
  /// Reads socket 0 itself as long as this lives; its data is no event meanwhile.
  static std::unique_ptr<BlockStream> ofSocket(NetworkLink& network);
  /// What socket 0's data-arrival handler hands over, so that the host sees it as an event too.
  static std::unique_ptr<BlockStream> ofArrivals(DeviceLine& line, NetworkLink& network);

  virtual ~BlockStream() = default;
  virtual std::optional<Bytes> take() = 0;
  /// While a block is being used, the next one has to stay where it is.
  virtual void busy(bool /*on*/) {}
};

/// The next block; nothing once 5 s have passed in silence.
std::optional<Bytes> nextBlock(const DeviceLinks& links, BlockStream& stream);

}  // namespace cronvel
