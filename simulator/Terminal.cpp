#include "simulator/Terminal.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "simulator/Bcd.h"

namespace cronvel::simulator {

namespace {

using Payload = std::span<const std::uint8_t>;

constexpr int secondsPerDay = 86'400;

std::string timeText(int hours, int minutes, int seconds) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", hours, minutes, seconds);
  return text.data();
}

std::string timeText(int secondOfDay) {
  return timeText(secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60);
}

std::string hexText(Payload bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += ' ' + hex(byte);
  return text;
}

std::string dayText(const Date& date) { return toText(date).substr(0, 5); }

std::string rangeText(const std::optional<DateRange>& range) {
  return range ? dayText(range->first) + '-' + dayText(range->last) : "none";
}

Outcome accepted(std::string text) { return {Outcome::Kind::accepted, std::move(text), {}, {}, 0}; }

Outcome refused(const std::string& name, Payload payload, std::string problem) {
  return {Outcome::Kind::refused, name + hexText(payload), std::move(problem), {}, 0};
}

/// Baud rate of a speed code; 0 for a byte that is none.
int speedOf(std::uint8_t code) {
  switch (code) {
    case 0x0A:
      return 110;
    case 0x40:
      return 150;
    case 0x75:
      return 300;
    case 0xD0:
      return 600;
    case 0xE8:
      return 1200;
    case 0xF4:
      return 2400;
    case 0xFA:
      return 4800;
    case 0xFD:
      return 9600;
    case 0xFE:
      return 19200;
    default:
      return 0;
  }
}

std::string speedText(std::uint8_t code) {
  const int speed = speedOf(code);
  return speed == 0 ? " with speed code " + hex(code) + ", which names no speed"
                    : " at " + std::to_string(speed) + " baud";
}

/// A date sent as day, month, year.
std::optional<Date> dateFrom(Payload bytes) {
  auto date = dayAndMonth(bytes);
  const auto year = fromBcd(bytes[2]);
  if (!date || !year) return std::nullopt;
  date->year = *year;
  return date;
}

}  // namespace

struct Terminal::Command {
  std::uint8_t code;
  const char* name;
  std::size_t payload;
  Outcome (Terminal::*act)(Payload);
};

const Terminal::Command* Terminal::find(std::uint8_t code) {
  static const std::array commands{
      Command{10, "SetTime", 3, &Terminal::setTime},
      Command{11, "SetDate", 4, &Terminal::setDate},
      Command{15, "GetData", 1, &Terminal::getData},
      Command{16, "SetKeyboard", 1, &Terminal::setKeyboard},
      Command{18, "TestConnection", 0, &Terminal::testConnection},
      Command{25, "GetDataByDate", 7, &Terminal::getDataByDate},
      Command{27, "ResetMem", 1, &Terminal::resetMem},
      Command{28, "GetDataBuff", 0, &Terminal::getDataBuff},
      Command{29, "SetDayLight", 4, &Terminal::setDayLight},
  };
  for (const Command& command : commands) {
    if (command.code == code) return &command;
  }
  return nullptr;
}

Terminal::Terminal(int number, RecordMemory memory, Faults faults, const Scheduler& scheduler)
    : mNumber(number),
      mMemory(std::move(memory)),
      mFaults(std::move(faults)),
      mScheduler(scheduler),
      mSetAt(scheduler.now()) {
  if (number < 0 || number > 159) {
    throw std::invalid_argument("a terminal's number is 0 to 159, not " + std::to_string(number));
  }
}

std::uint8_t Terminal::address() const { return toBcd(mNumber); }

std::optional<Terminal::Shape> Terminal::shape(std::uint8_t code) {
  const Command* command = find(code);
  if (!command) return std::nullopt;
  return Shape{command->name, command->payload};
}

Outcome Terminal::execute(std::uint8_t code, Payload payload) {
  const Command* command = find(code);
  if (!command || payload.size() != command->payload) {
    return {Outcome::Kind::ignored, "command " + hex(code), "not a command", {}, 0};
  }
  return (this->*command->act)(payload);
}

Outcome Terminal::setTime(Payload payload) {
  const auto seconds = fromBcd(payload[0]);
  const auto minutes = fromBcd(payload[1]);
  const auto hours = fromBcd(payload[2]);
  if (!seconds || !minutes || !hours) return refused("SetTime", payload, "not a time: bad digits");
  if (*hours > 23 || *minutes > 59 || *seconds > 59) {
    return refused("SetTime", payload, "no such time: " + timeText(*hours, *minutes, *seconds));
  }
  setClock(clock().date, *hours * 3600 + *minutes * 60 + *seconds);
  return accepted("SetTime " + timeText(*hours, *minutes, *seconds));
}

Outcome Terminal::setDate(Payload payload) {
  const std::array dayFirst{payload[3], payload[2], payload[1]};
  const auto date = dateFrom(dayFirst);
  if (!date) return refused("SetDate", payload, "no such date");
  setClock(*date, clock().second);
  mWeekday = payload[0];
  return accepted("SetDate " + toText(*date) + " weekday " + std::to_string(payload[0]));
}

Outcome Terminal::setKeyboard(Payload payload) {
  mKeyboard = payload[0];
  return accepted("SetKeyboard " + std::to_string(mKeyboard));
}

Outcome Terminal::testConnection(Payload) { return accepted("TestConnection"); }

Outcome Terminal::resetMem(Payload payload) {
  if (payload[0] != 'T') return refused("ResetMem", payload, "not confirmed by \"T\"");
  mMemory.clear();
  return accepted("ResetMem");
}

Outcome Terminal::setDayLight(Payload payload) {
  const auto first = dayAndMonth(payload.first(2));
  const auto last = dayAndMonth(payload.subspan(2));
  if (!first || !last) return refused("SetDayLight", payload, "no such dates");
  mDaylight = DateRange{*first, *last};
  return accepted("SetDayLight " + rangeText(mDaylight));
}

Outcome Terminal::getData(Payload payload) {
  return {Outcome::Kind::stream,
          "GetData" + speedText(payload[0]),
          {},
          mMemory.stream(),
          speedOf(payload[0])};
}

Outcome Terminal::getDataBuff(Payload) {
  return {Outcome::Kind::stream, "GetDataBuff", {}, mMemory.stream(), 4800};
}

Outcome Terminal::getDataByDate(Payload payload) {
  const auto first = dateFrom(payload.first(3));
  const auto last = dateFrom(payload.subspan(3, 3));
  // A reply byte would be taken for the first byte of the records.
  if (!first || !last) {
    return {Outcome::Kind::ignored, "GetDataByDate" + hexText(payload), "no such dates", {}, 0};
  }
  return {Outcome::Kind::stream,
          "GetDataByDate " + toText(*first) + '-' + toText(*last) + speedText(payload[6]),
          {},
          mMemory.stream(DateRange{*first, *last}),
          speedOf(payload[6])};
}

void Terminal::setClock(const Date& date, int secondOfDay) {
  mWeekday = weekday();
  mDate = date;
  mSecondOfDay = secondOfDay;
  mSetAt = mScheduler.now();
}

Terminal::ClockReading Terminal::clock() const {
  const double seconds = mSecondOfDay + (mScheduler.now() - mSetAt) / 1000;
  const int days = static_cast<int>(seconds / secondsPerDay);
  Date date = mDate;
  for (int i = 0; i < days; ++i) date = nextDay(date);
  return {date, static_cast<int>(std::fmod(seconds, secondsPerDay)), days};
}

// Moves on at midnight within 1 to 7; another numbering is the host's own and stays as it was set.
int Terminal::weekday() const {
  if (mWeekday < 1 || mWeekday > 7) return mWeekday;
  return (mWeekday - 1 + clock().daysPassed) % 7 + 1;
}

std::string Terminal::stateText() const {
  const ClockReading now = clock();
  return "shows " + timeText(now.second) + ' ' + toText(now.date) + " weekday " +
         std::to_string(weekday()) + ", keypad " + std::to_string(mKeyboard) + ", daylight " +
         rangeText(mDaylight) + ", " + std::to_string(mMemory.size()) + " records";
}

Json Terminal::stateFields() const {
  const ClockReading now = clock();
  return {{"time", timeText(now.second)},
          {"date", toText(now.date)},
          {"weekday", weekday()},
          {"keypad", mKeyboard},
          {"daylight", rangeText(mDaylight)},
          {"records", mMemory.size()}};
}

}  // namespace cronvel::simulator
