#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

#include "simulator/device/Outcome.h"

namespace cronvel::simulator {

/// The card numbers that a terminal admits, up to a capacity. A card that is there already, or one
/// that is not there to be deleted, is no reason to refuse.
class CardList {
 public:
  explicit CardList(std::size_t capacity = 5000) : mCapacity(capacity) {}

  std::size_t size() const { return mCards.size(); }

  /// Each takes a payload: two packed decimal bytes, or "T" for all.
  Outcome add(Payload payload);
  Outcome remove(Payload payload);
  Outcome removeAll(Payload payload);
  /// A block: 0xAA, two bytes for each card, 0xAA, the sum of the card bytes in four bytes, highest
  /// first. Nothing of it is taken unless all of it is right.
  Outcome load(Payload block);

  /// Whether a block has come to its end; the sum's four bytes follow the closing 0xAA.
  static bool blockEnded(Payload block);
  /// Bytes of the longest block.
  static constexpr std::size_t longestBlock = 2 * 16'000 + 6;

 private:
  std::size_t mCapacity;
  std::set<int> mCards;
};

}  // namespace cronvel::simulator
