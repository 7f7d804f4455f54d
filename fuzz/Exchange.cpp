// Whole commands over a scripted line: a call of the machine fails, a second socket talks, the
// clock is set, the host pumps, calls commands, fails, ends the command. The one after it is
// undisturbed and has to work.

#include "fuzz/Harness.h"
#include "tests/support/Attempt.h"

namespace cronvel::fuzz {
namespace {

using test::Attempt;
using test::Command;
using test::Line;
using test::Machine;

const Command& commandOf(Input& input) {
  return test::commands()[input.byte() % test::commands().size()];
}

Line lineOf(const Command& command, Input& input) {
  const int any = input.byte() % 3;
  if (!command.serial()) return Line::network;
  return static_cast<Line>(command.network == test::Network::none ? any % 2 : any);
}

std::vector<Attempt::Block> answerOf(const Command& command, Input& input) {
  std::vector<Attempt::Block> answer;
  for (int blocks = input.byte() % 5; blocks > 0; --blocks) {
    const double gap = 0.1 + input.byte() % 32 / 5.0;
    const bool good = input.byte() % 4 > 0;
    const std::string other = good ? "" : input.bytes(input.byte() % 40U);
    const Bytes bytes = good ? command.result.reply : Bytes(other.begin(), other.end());
    if (!bytes.empty()) answer.emplace_back(gap, bytes);
  }
  return answer;
}

void disturb(Attempt& attempt, Machine& machine, Input& input) {
  const int kind = input.byte() % 9;
  const double when = input.byte() / 16.0;
  const std::string bytes = input.bytes(input.byte() % 4U);
  if (kind > 5) attempt.wild();
  if (kind == 0) {
    attempt.failCall(1 + static_cast<int>(when * 4));
  } else if (kind == 1) {
    attempt.otherTalks(when, bytes);
  } else if (kind == 2) {
    attempt.setClock(when, bytes.empty() ? -1'800'000'000 : 3'600'000'000);
  } else if (kind == 3) {
    attempt.endAt(when, bytes.size() == 3 ? Attempt::Ends::forGood : Attempt::Ends::elsewhere);
  } else if (kind == 4) {
    attempt.endAt(when, Attempt::Ends::inHandler);
  } else if (kind == 5) {
    attempt.inEvent(when, [&machine] { machine.platform.time.DoEvents(); });
  } else if (kind == 6) {
    attempt.inEvent(when, [&machine] { machine.control->WinSockClose(0); });
  } else if (kind == 7) {
    attempt.inEvent(when, [&machine, &other = commandOf(input), over = input.byte() % 2] {
      other.call.run(*machine.control, over == 0 ? u"" : Attempt::host);
    });
  } else {
    attempt.inEvent(when, [] { throw RunTimeError(ErrorNumber::overflow, "of the host"); });
  }
}

/// False where the control is of no use any more.
bool attempt(Machine& machine, Input input, bool disturbed) {
  const Command& command = commandOf(input);
  const Line line = lineOf(command, input);
  const double connects = 0.05 + input.byte() / 20.0;
  Attempt attempt(machine, command, line, connects, answerOf(command, input));
  for (int count = disturbed ? input.byte() % 8 : 0; count > 0; --count)
    disturb(attempt, machine, input);
  return attempt.run();
}

}  // namespace
}  // namespace cronvel::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cronvel::fuzz;
  static std::optional<Machine> machine(std::in_place);
  const std::size_t next = std::min<std::size_t>(size, 8);
  if (attempt(*machine, Input(data + next, size - next), true))
    attempt(*machine, Input(data, next), false);
  else
    machine.emplace();
  return 0;
}
