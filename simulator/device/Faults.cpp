#include "simulator/device/Faults.h"

#include <algorithm>
#include <random>
#include <stdexcept>

namespace cronvel::simulator {

namespace {

using Takes = Fault::Takes;
using Value = FaultValue;

constexpr int anyTime = 3'600'000;

// A damaged low nibble: no byte below 0xA0 is a marker, so only the digit suffers.
void damageByte(std::uint8_t& byte, std::uint32_t random) {
  byte = static_cast<std::uint8_t>((byte & 0xF0) | (0x0A + random % 6));
}

/// Each damaged digit is in a record of its own as long as there are records.
void damage(Answer& answer, const Value& value) {
  std::mt19937 random(answer.seed);
  std::vector<RecordStream::Span> records = answer.content.digits;
  for (std::size_t i = records.size(); i > 1; --i) std::swap(records[i - 1], records[random() % i]);
  records.resize(std::min(value.number, records.size()));
  for (const RecordStream::Span& record : records) {
    std::uint8_t& byte = answer.content.bytes[record.offset + random() % record.size];
    damageByte(byte, static_cast<std::uint32_t>(random()));
  }
}

void cut(Answer& answer, const Value& value) {
  Bytes& bytes = answer.content.bytes;
  if (answer.stream) bytes.resize(std::min(bytes.size(), value.number));
}

void spoilTrailer(Answer& answer, const Value& value) {
  constexpr std::size_t countHigh = 7;  // 256 records more, or fewer
  constexpr std::size_t closing = 11;
  RecordStream& content = answer.content;
  const std::size_t start = content.trailerAt;
  if (!answer.stream) return;
  if (value.word == "missing") content.bytes.resize(std::min(content.bytes.size(), start));
  if (value.word == "wrong" && start + closing < content.bytes.size())
    content.bytes[start + closing] = 0x00;
  if (value.word == "count" && start + countHigh < content.bytes.size())
    content.bytes[start + countHigh] ^= 0x01;
}

void pauseAt(Answer& answer, const Value& value) {
  if (answer.stream) answer.pauses.push_back(answer.noise.size() + value.number);
}

/// They are applied in this order: each sees what those before it left.
const std::vector<Fault> table{
    {"--silent", "act on commands, but never answer",
     [](Answer& answer, const Value&) { answer.silent = true; }},
    {"--delay", "milliseconds from a command's end to the answer",
     [](Answer& answer, const Value& value) {
       answer.delay = std::max(answer.delay, static_cast<int>(value.number));
     },
     Takes::number, "MS", anyTime, 120},
    {"--reply", "reply with this byte (or bytes) instead of 24",
     [](Answer& answer, const Value& value) {
       if (!answer.stream) answer.content.bytes = value.bytes;
     },
     Takes::bytes, "BYTE,..."},
    {"--noise", "send these bytes right before every answer",
     [](Answer& answer, const Value& value) { answer.noise = value.bytes; }, Takes::bytes,
     "BYTE,..."},
    {"--pieces", "pause after the first byte of every answer",
     [](Answer& answer, const Value&) { answer.pauses.push_back(1); }},
    {"--pause-at", "pause when this many bytes of a stream are sent", pauseAt, Takes::number,
     "BYTES"},
    {"--pause", "length of these pauses in milliseconds",
     [](Answer& answer, const Value& value) { answer.pause = static_cast<int>(value.number); },
     Takes::number, "MS", anyTime, 1000},
    {"--damage", "damage this many records of a stream by one digit", damage, Takes::number, "N",
     65535},
    {"--cut", "end a stream after this many bytes", cut, Takes::number, "BYTES"},
    {"--trailer",
     "missing: a stream without trailer; wrong: its closing byte is wrong; count: its count "
     "disagrees with its positions",
     spoilTrailer,
     Takes::word,
     "KIND",
     {},
     {},
     {"missing", "wrong", "count"}},
    {"--drop", "network: close the connection instead of answering",
     [](Answer& answer, const Value&) { answer.hangUp = true; }},
};

}  // namespace

std::span<const Fault> Faults::all() { return table; }

Faults::Faults(std::initializer_list<Chosen> chosen) {
  for (const auto& [option, value] : chosen) choose(option, value);
}

void Faults::choose(const std::string& option, const FaultValue& value) {
  const auto found = std::ranges::find(table, option, &Fault::option);
  if (found == table.end()) throw std::invalid_argument("no fault has the name " + option);
  mChosen.resize(table.size());
  mChosen[static_cast<std::size_t>(found - table.begin())] = value;
}

void Faults::apply(Answer& answer) const {
  for (std::size_t i = 0; i < table.size(); ++i) {
    const Fault& fault = table[i];
    const std::optional<FaultValue> chosen = i < mChosen.size() ? mChosen[i] : std::nullopt;
    if (chosen) {
      fault.apply(answer, *chosen);
    } else if (fault.standard) {
      fault.apply(answer, *fault.standard);
    }
  }
}

}  // namespace cronvel::simulator
