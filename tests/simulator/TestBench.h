#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "simulator/base/Text.h"
#include "simulator/wire/Exchange.h"

namespace cronvel::simulator {

using Parity = LineSettings::Parity;

/// Time that moves only when told.
struct ManualScheduler : Scheduler {
  double now() const override { return mNow; }
  void advance(double milliseconds) {
    const double target = mNow + milliseconds;
    for (; nextDue() && *nextDue() <= target; runDue()) mNow = std::max(mNow, *nextDue());
    mNow = target;
  }
  void scheduled() override {}

  double mNow = 0;
};

/// What leads to the test: a connection, or a serial line as soon as that has settings.
struct TestWire : Wire {
  void send(std::span<const std::uint8_t> bytes) override {
    for (const std::uint8_t byte : bytes) received += hex(byte);
  }
  std::optional<LineSettings> settings() const override { return line; }
  void hangUp() override {}

  std::optional<LineSettings> line;
  std::string received;  // in hexadecimal
};

/// Terminals 1 and 2 on one wire, and the last event of each name.
struct Bench {
  explicit Bench(Faults faults = {}, RecordMemory memory = {})
      : one(1, std::move(memory), std::move(faults), scheduler), two(2, {}, {}, scheduler) {
    journal.addSink([this](const Event& event) { last[event.name] = event.fields; });
  }

  /// Bytes in hexadecimal; on a line with a pause after each.
  void send(std::string_view digits) {
    for (; !digits.empty(); digits.remove_prefix(2)) {
      const int value = std::stoi(std::string(digits.substr(0, 2)), nullptr, 16);
      const auto byte = static_cast<std::uint8_t>(value);
      wire.line ? exchange.receive(byte, *wire.line) : exchange.receive(byte);
      scheduler.advance(wire.line ? 50 : 0);
    }
  }
  /// Over a line as a PC does it.
  void command(std::string_view address, std::string_view body) {
    wire.line = {600, Parity::mark};
    send(address);
    wire.line = {600, Parity::space};
    send(body);
  }
  /// What came in some time.
  std::string after(double milliseconds) {
    scheduler.advance(milliseconds);
    return std::exchange(wire.received, {});
  }

  ManualScheduler scheduler;
  Journal journal{scheduler};
  std::map<std::string, Json> last;
  Terminal one;
  Terminal two;
  TestWire wire;
  Exchange exchange{wire, {&one, &two}, scheduler, journal};
};

/// Two days, two people, three records; and they as a stream.
inline RecordMemory smallMemory(std::size_t startPosition = 0) {
  return RecordMemory({Day{{7, 12, 31}, {{1234, 7 * 60 + 58, 0}, {88, 16 * 60 + 5, 0xA3}}},
                       Day{{8, 1, 1}, {{1234, 8 * 60, 0}}}},
                      4, startPosition);
}
inline const std::string smallStream =
    "BB31120712340758A300881605BB01010812340800E300000000030000030000E3";

}  // namespace cronvel::simulator
