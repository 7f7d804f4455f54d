#include "simulator/device/CardList.h"

#include <optional>
#include <vector>

#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

constexpr std::uint8_t edge = 0xAA;
constexpr std::size_t sumSize = 4;

std::optional<int> cardFrom(Payload pair) {
  const auto high = fromBcd(pair[0]);
  const auto low = fromBcd(pair[1]);
  if (!high || !low) return std::nullopt;
  return *high * 100 + *low;
}

/// Where the closing edge stands; nothing before it came.
std::optional<std::size_t> closingEdge(Payload block) {
  for (std::size_t i = 1; i < block.size(); i += 2)
    if (block[i] == edge) return i;
  return std::nullopt;
}

std::uint32_t sumOf(Payload bytes) {
  std::uint32_t sum = 0;
  for (const std::uint8_t byte : bytes) sum += byte;
  return sum;
}

std::uint32_t sumSent(Payload bytes) {
  std::uint32_t sum = 0;
  for (const std::uint8_t byte : bytes) sum = sum << 8 | byte;
  return sum;
}

}  // namespace

Outcome CardList::add(Payload payload) {
  const auto card = cardFrom(payload);
  if (!card) return refused("AddCardSimple", payload, "no card number: bad digits");
  if (mCards.size() >= mCapacity && !mCards.contains(*card))
    return refused("AddCardSimple", payload, "the card list is full");
  mCards.insert(*card);
  return accepted("AddCardSimple " + std::to_string(*card));
}

Outcome CardList::remove(Payload payload) {
  const auto card = cardFrom(payload);
  if (!card) return refused("DeleteCardSimple", payload, "no card number: bad digits");
  const bool was = mCards.erase(*card) > 0;
  return accepted("DeleteCardSimple " + std::to_string(*card) + (was ? "" : " (was not there)"));
}

Outcome CardList::removeAll(Payload payload) {
  if (payload[0] != 'T') return refused("DeleteCardAll", payload, "not confirmed by \"T\"");
  mCards.clear();
  return accepted("DeleteCardAll");
}

bool CardList::blockEnded(Payload block) {
  const auto closing = closingEdge(block);
  return closing && block.size() == *closing + 1 + sumSize;
}

Outcome CardList::load(Payload block) {
  const std::string name = "AddCardFile";
  const auto closing = closingEdge(block);
  if (block.empty() || block[0] != edge || !closing || block.size() != *closing + 1 + sumSize)
    return refused(name, {}, "the block does not start and end with AA");
  const Payload bytes = block.subspan(1, *closing - 1);
  if (sumOf(bytes) != sumSent(block.last(sumSize)))
    return refused(name, {},
                   "the sum is " + std::to_string(sumSent(block.last(sumSize))) + ", not " +
                       std::to_string(sumOf(bytes)));
  std::set<int> cards = mCards;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto card = cardFrom(bytes.subspan(i, 2));
    if (!card) return refused(name, bytes.subspan(i, 2), "no card number: bad digits");
    cards.insert(*card);
  }
  if (cards.size() > mCapacity) return refused(name, {}, "the card list is full");
  mCards = std::move(cards);
  return accepted(name + ": " + std::to_string(bytes.size() / 2) + " cards, sum " +
                  std::to_string(sumOf(bytes)));
}

}  // namespace cronvel::simulator
