#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "runtime/Bytes.h"
#include "simulator/memory/RecordMemory.h"

namespace cronvel::simulator {

/// How a terminal answers, and what is wrong with it on request. All times are milliseconds.
struct Faults {
  enum class Trailer {
    right,
    missing,
    wrong,  ///< its closing byte is not the one that closes a trailer
    count,  ///< its count disagrees with its positions
  };

  bool silent = false;  ///< acts on commands but never answers
  int delay = 120;      ///< from a command's last byte to the answer
  Bytes reply;          ///< sent as the reply to every command, instead of the right one
  Bytes noise;          ///< sent right before every answer
  bool pieces = false;  ///< pauses after the first byte of every answer
  std::optional<std::size_t> pauseAt;  ///< pauses once this many bytes of a stream are sent
  int pause = 1000;                    ///< length of these pauses
  int damage = 0;                      ///< damaged digits in a stream, each in a record of its own
                                       ///< as long as there are records
  std::uint32_t seed = 1;              ///< spreads the damage
  std::optional<std::size_t> cut;      ///< a stream ends after this many bytes
  Trailer trailer = Trailer::right;
  bool drop = false;  ///< network: closes the connection instead of answering
};

/// The bytes of a stream with the faults that concern its content: damage, trailer, cut.
Bytes spoil(const RecordStream& stream, const Faults& faults);

}  // namespace cronvel::simulator
