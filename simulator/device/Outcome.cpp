#include "simulator/device/Outcome.h"

#include <utility>

#include "simulator/base/Journal.h"

namespace cronvel::simulator {

std::string hexText(Payload bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += ' ' + hex(byte);
  return text;
}

Outcome accepted(std::string text) {
  return {.kind = Outcome::Kind::accepted, .text = std::move(text)};
}

Outcome refused(const std::string& name, Payload payload, std::string problem) {
  return {.kind = Outcome::Kind::refused,
          .text = name + hexText(payload),
          .problem = std::move(problem)};
}

}  // namespace cronvel::simulator
