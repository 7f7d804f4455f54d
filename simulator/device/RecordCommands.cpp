// The attendance records: sent, and forgotten.

#include <algorithm>

#include "simulator/base/Text.h"
#include "simulator/device/Command.h"

namespace cronvel::simulator {

namespace {

struct Speed {
  std::uint8_t code;
  int baud;
};
constexpr Speed speeds[] = {{0x0A, 110},  {0x40, 150},  {0x75, 300},  {0xD0, 600},  {0xE8, 1200},
                            {0xF4, 2400}, {0xFA, 4800}, {0xFD, 9600}, {0xFE, 19200}};

/// 0 for a byte that is no speed code.
int speedOf(std::uint8_t code) {
  const auto* const found = std::ranges::find(speeds, code, &Speed::code);
  return found == std::end(speeds) ? 0 : found->baud;
}

std::string speedText(std::uint8_t code) {
  const int speed = speedOf(code);
  return speed == 0 ? " with speed code " + hex(code) + ", which names no speed"
                    : " at " + std::to_string(speed) + " baud";
}

Outcome getData(Device& device, Payload payload) {
  return streamed(speedText(payload[0]), device.memory.stream(), speedOf(payload[0]));
}

Outcome getDataBuff(Device& device, Payload) { return streamed("", device.memory.stream(), 4800); }

Outcome getDataByDate(Device& device, Payload payload) {
  const auto first = dateFrom(payload.first(3));
  const auto last = dateFrom(payload.subspan(3, 3));
  // A reply byte would be taken for the first byte of the records.
  if (!first || !last) return ignored(hexText(payload), "no such dates");
  return streamed(" " + toText(*first) + '-' + toText(*last) + speedText(payload[6]),
                  device.memory.stream(DateRange{*first, *last}), speedOf(payload[6]));
}

Outcome resetMem(Device& device, Payload payload) {
  if (payload[0] != 'T') return refused(payload, notConfirmed);
  device.memory.clear();
  return accepted();
}

constexpr Command commands[] = {
    {15, "GetData", 1, getData},
    {25, "GetDataByDate", 7, getDataByDate},
    {27, "ResetMem", 1, resetMem},
    {28, "GetDataBuff", 0, getDataBuff},
};

}  // namespace

std::span<const Command> recordCommands() { return commands; }

}  // namespace cronvel::simulator
