#include "simulator/device/Outcome.h"

#include <utility>

#include "simulator/base/Text.h"

namespace cronvel::simulator {

using Kind = Outcome::Kind;

Outcome accepted(std::string text) { return {.kind = Kind::accepted, .text = std::move(text)}; }

Outcome quiet(std::string text) { return {.kind = Kind::quiet, .text = std::move(text)}; }

Outcome refused(Payload payload, std::string problem) {
  return {.kind = Kind::refused, .text = hexText(payload), .problem = std::move(problem)};
}

Outcome ignored(std::string text, std::string problem) {
  return {.kind = Kind::ignored, .text = std::move(text), .problem = std::move(problem)};
}

Outcome replied(Bytes bytes) {
  return {.kind = Kind::block, .answer = {.content = {.bytes = std::move(bytes)}}};
}

Outcome streamed(std::string text, RecordStream records, int speed) {
  return {.kind = Kind::stream,
          .text = std::move(text),
          .speed = speed,
          .answer = {.stream = true, .content = std::move(records)}};
}

}  // namespace cronvel::simulator
