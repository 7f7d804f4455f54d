#pragma once

#include <memory>
#include <vector>

#include "platform/SerialLineEnd.h"
#include "simulator/wire/Exchange.h"

namespace cronvel::simulator {

/// Terminals that share one serial line.
class SerialBus : private Wire {
 public:
  SerialBus(std::unique_ptr<SerialLineEnd> line, std::vector<Terminal*> terminals,
            Scheduler& scheduler, Journal& journal)
      : mLine(std::move(line)), mExchange(*this, std::move(terminals), scheduler, journal) {
    mLine->onReceive([this](std::span<const std::uint8_t> bytes, const LineSettings& settings) {
      for (const std::uint8_t byte : bytes) mExchange.receive(byte, settings);
    });
  }
  SerialBus(const SerialBus&) = delete;
  SerialBus& operator=(const SerialBus&) = delete;

 private:
  void send(std::span<const std::uint8_t> bytes) override { mLine->send(bytes); }
  std::optional<LineSettings> settings() const override { return mLine->settings(); }
  void hangUp() override {}

  std::unique_ptr<SerialLineEnd> mLine;
  Exchange mExchange;
};

}  // namespace cronvel::simulator
