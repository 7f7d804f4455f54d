#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "simulator/memory/Workplace.h"
#include "simulator/wire/SerialBus.h"

namespace cronvel::simulator {

/// Time that moves only when told.
class ManualScheduler : public Scheduler {
 public:
  double now() const override { return mNow; }
  void advance(double milliseconds) {
    const double target = mNow + milliseconds;
    while (nextDue() && *nextDue() <= target) {
      mNow = std::max(mNow, *nextDue());
      runDue();
    }
    mNow = target;
  }

 private:
  void scheduled() override {}
  double mNow = 0;
};

/// A serial line whose PC side is the test: what it sends, how its port is set, what it got.
class FakeLine : public SerialLineEnd {
 public:
  struct Pc {
    LineSettings settings;
    Bytes received;
    std::vector<std::size_t> chunks;  ///< sizes of the pieces in which it came
    std::function<void(std::span<const std::uint8_t>, const LineSettings&)> handler;

    void set(std::int32_t speed, LineSettings::Parity parity) { settings = {speed, parity}; }
    void send(const Bytes& bytes) { handler(bytes, settings); }
  };

  explicit FakeLine(Pc& pc) : mPc(pc) {}
  std::string path() const override { return "fake"; }
  LineSettings settings() const override { return mPc.settings; }
  void send(std::span<const std::uint8_t> bytes) override {
    mPc.received.insert(mPc.received.end(), bytes.begin(), bytes.end());
    mPc.chunks.push_back(bytes.size());
  }
  void onReceive(
      std::function<void(std::span<const std::uint8_t>, const LineSettings&)> handler) override {
    mPc.handler = std::move(handler);
  }

 private:
  Pc& mPc;
};

/// Terminals 1 and 2 on one line, and everything that they report.
class Bench {
 public:
  using Parity = LineSettings::Parity;

  explicit Bench(Faults faults = {}, RecordMemory memory = {})
      : one(1, std::move(memory), faults, scheduler), two(2, {}, {}, scheduler) {
    journal.addSink([this](const Event& event) { events.push_back(event); });
    bus = std::make_unique<SerialBus>(std::make_unique<FakeLine>(pc), std::vector{&one, &two},
                                      scheduler, journal);
  }

  /// As a PC does it: the address with mark, the rest as given, a pause after each byte.
  void command(std::uint8_t address, const Bytes& body, Parity parity = Parity::space) {
    pc.set(600, Parity::mark);
    sendPaced({address});
    pc.set(600, parity);
    sendPaced(body);
    pc.received.clear();
    pc.chunks.clear();
  }

  /// The command's reply; nothing when none came within a second.
  Bytes replyTo(std::uint8_t address, const Bytes& body, Parity parity = Parity::space) {
    command(address, body, parity);
    scheduler.advance(1000);
    return pc.received;
  }

  void sendPaced(const Bytes& bytes) {
    for (const std::uint8_t byte : bytes) {
      pc.send({byte});
      scheduler.advance(50);
    }
  }

  /// The last event of that name; an empty one when there is none.
  Event last(const std::string& name) const {
    for (auto event = events.rbegin(); event != events.rend(); ++event) {
      if (event->name == name) return *event;
    }
    return {};
  }

  ManualScheduler scheduler;
  Journal journal{scheduler};
  std::vector<Event> events;
  FakeLine::Pc pc;
  Terminal one;
  Terminal two;
  std::unique_ptr<SerialBus> bus;
};

/// Two days, two people, three records; 33 bytes as a stream.
inline RecordMemory smallMemory(std::size_t startPosition = 0) {
  return RecordMemory({Day{{7, 12, 31}, {{1234, 7 * 60 + 58, 0}, {88, 16 * 60 + 5, 0xA3}}},
                       Day{{8, 1, 1}, {{1234, 8 * 60, 0}}}},
                      4, startPosition);
}

}  // namespace cronvel::simulator
