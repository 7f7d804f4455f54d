#include "simulator/device/Terminal.h"

#include <stdexcept>
#include <utility>

#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

constexpr std::uint8_t goodReply = 24;
constexpr std::uint8_t refusal = 21;

}  // namespace

Terminal::Terminal(int number, RecordMemory memory, Faults faults, const Scheduler& scheduler,
                   std::uint32_t seed)
    : mDevice{number, DeviceClock(scheduler), std::move(memory)},
      mFaults(std::move(faults)),
      mSeed(seed) {
  if (number < 0 || number > 159) {
    throw std::invalid_argument("a terminal's number is 0 to 159, not " + std::to_string(number));
  }
}

Outcome Terminal::execute(const Command& command, Payload payload) {
  Outcome outcome = command.act(mDevice, payload);
  outcome.text.insert(0, command.name);
  if (outcome.kind == Outcome::Kind::accepted) outcome.answer.content.bytes = {goodReply};
  if (outcome.kind == Outcome::Kind::refused) outcome.answer.content.bytes = {refusal};
  outcome.answer.seed = mSeed;
  mFaults.apply(outcome.answer);
  return outcome;
}

Bytes Terminal::nextEvent() {
  constexpr int people = 20;
  const int second = mDevice.clock.secondOfDay();
  ++mEvents;
  return {0xED,
          address(),
          toBcd(10),
          toBcd(mEvents % people),
          toBcd(second / 3600),
          toBcd(second / 60 % 60),
          static_cast<std::uint8_t>(mEvents >> 8 & 0xFF),
          static_cast<std::uint8_t>(mEvents & 0xFF)};
}

}  // namespace cronvel::simulator
