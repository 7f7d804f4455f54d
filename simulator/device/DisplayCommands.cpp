// What a terminal shows: the message to a card holder, and the modes that its keys choose.

#include <algorithm>

#include "simulator/device/Command.h"

namespace cronvel::simulator {

namespace {

constexpr std::size_t modeNameSize = 16;

Outcome sendMessage(Device& device, Payload payload) {
  if (payload.back() != 1) return refused(payload, "it does not end in 01");
  const int card = payload[0] + payload[1] * 256;
  const Payload codes = payload.subspan(2, 32);
  device.message = Display(codes);
  return accepted(" to card " + std::to_string(card) + ", shows " + device.message.told());
}

Outcome setMode(Device& device, Payload payload) {
  if (payload[0] >= device.modeNames.size()) return refused(payload, "modes are 0 to 7");
  device.mode = payload[0];
  return accepted(" " + std::to_string(device.mode));
}

Outcome nameModes(Device& device, Payload payload) {
  if (payload[0] != '$') return refused(payload.first(1), "it does not start with $");
  std::string text = ", shows";
  for (std::size_t i = 0; i < device.modeNames.size(); ++i) {
    device.modeNames[i] = Display(payload.subspan(1 + i * modeNameSize, modeNameSize));
    text += (i == 0 ? " " : "; ") + device.modeNames[i].told();
  }
  return accepted(text);
}

Outcome activateModes(Device& device, Payload payload) {
  if (!std::ranges::all_of(payload, [](auto byte) { return switchFrom(byte).has_value(); }))
    return refused(payload, noSwitch);
  device.activeModes.assign(payload.begin(), payload.end());
  return accepted(" " + device.activeModes);
}

constexpr Command commands[] = {
    {21, "SendMsg", 35, sendMessage},
    {30, "SendModeActive", 8, activateModes},
    {31, "SendModeStr", 129, nameModes},
    {32, "SetMode", 1, setMode},
};

}  // namespace

std::span<const Command> displayCommands() { return commands; }

}  // namespace cronvel::simulator
