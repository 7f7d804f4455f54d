// The cards that a terminal admits. A card that is there already, or one that is not there to be
// deleted, is no reason to refuse.

#include "simulator/base/Text.h"
#include "simulator/device/Command.h"
#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

// A block of cards: 0xAA, two bytes for each card, 0xAA, the sum of the card bytes in four bytes,
// highest first.
constexpr std::uint8_t edge = 0xAA;
constexpr std::size_t sumSize = 4;
constexpr std::size_t longestBlock = 2 * 16'000 + 6;
constexpr std::int32_t blockSpeed = 9600;

constexpr const char* noCard = "no card number: bad digits";
constexpr const char* full = "the card list is full";

std::optional<int> cardFrom(Payload pair) {
  const auto high = fromBcd(pair[0]);
  const auto low = fromBcd(pair[1]);
  if (!high || !low) return std::nullopt;
  return *high * 100 + *low;
}

Outcome add(Device& device, Payload payload) {
  const auto card = cardFrom(payload);
  if (!card) return refused(payload, noCard);
  if (device.cards.size() >= device.cardCapacity && !device.cards.contains(*card))
    return refused(payload, full);
  device.cards.insert(*card);
  return accepted(" " + std::to_string(*card));
}

Outcome remove(Device& device, Payload payload) {
  const auto card = cardFrom(payload);
  if (!card) return refused(payload, noCard);
  const bool was = device.cards.erase(*card) > 0;
  return accepted(" " + std::to_string(*card) + (was ? "" : " (was not there)"));
}

Outcome removeAll(Device& device, Payload payload) {
  if (payload[0] != 'T') return refused(payload, notConfirmed);
  device.cards.clear();
  return accepted();
}

/// Where the closing edge stands; nothing before it came.
std::optional<std::size_t> closingEdge(Payload block) {
  for (std::size_t i = 1; i < block.size(); i += 2)
    if (block[i] == edge) return i;
  return std::nullopt;
}

bool blockEnded(Payload block) {
  const auto closing = closingEdge(block);
  return closing && block.size() == *closing + 1 + sumSize;
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

/// Nothing of a block is taken unless all of it is right.
Outcome load(Device& device, Payload block) {
  if (block.empty() || block[0] != edge || !blockEnded(block))
    return refused({}, "the block does not start and end with AA");
  const Payload bytes = block.subspan(1, block.size() - 2 - sumSize);
  const std::uint32_t sum = sumOf(bytes);
  const std::uint32_t sent = sumSent(block.last(sumSize));
  if (sum != sent)
    return refused({}, "the sum is " + std::to_string(sent) + ", not " + std::to_string(sum));
  std::set<int> cards = device.cards;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto card = cardFrom(bytes.subspan(i, 2));
    if (!card) return refused(bytes.subspan(i, 2), noCard);
    cards.insert(*card);
  }
  if (cards.size() > device.cardCapacity) return refused({}, full);
  device.cards = std::move(cards);
  return accepted(": " + std::to_string(bytes.size() / 2) + " cards, sum " + std::to_string(sum));
}

Outcome setTable(Device& device, Payload payload) {
  device.cardTable = hexText(payload);
  return accepted(device.cardTable);
}

constexpr Command commands[] = {
    {26, "DefCards", 6, setTable},
    {40, "DeleteCardAll", 1, removeAll},
    {41, "DeleteCardSimple", 2, remove},
    {42, "AddCardSimple", 2, add},
    {43, "AddCardFile", longestBlock, load, false, blockEnded, blockSpeed},
};

}  // namespace

std::span<const Command> cardCommands() { return commands; }

}  // namespace cronvel::simulator
