#include "protocol/BlockStream.h"

namespace cronvel {

std::optional<Bytes> nextBlock(DeviceLinks& links, BlockStream& stream) {
  constexpr double silenceLimit = 5;
  std::optional<Bytes> block;
  const auto take = [&] { return (block = stream.take()).has_value(); };
  // The look after the limit is for bytes that came while a handler of the host kept the loop
  // waiting.
  if (!links.waitFor(silenceLimit, take) && !links.ended()) take();
  return block;
}

}  // namespace cronvel
