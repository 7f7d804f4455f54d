#include "simulator/device/Command.h"

#include <algorithm>

namespace cronvel::simulator {

const Command* findCommand(std::uint8_t code) {
  for (const auto family : {clockCommands(), recordCommands(), cardCommands(), admissionCommands(),
                            displayCommands(), deviceCommands()}) {
    const auto found = std::ranges::find(family, code, &Command::code);
    if (found != family.end()) return &*found;
  }
  return nullptr;
}

std::optional<bool> switchFrom(std::uint8_t byte) {
  if (byte == 'T') return true;
  if (byte == 'F') return false;
  return std::nullopt;
}

}  // namespace cronvel::simulator
