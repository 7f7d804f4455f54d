#include "simulator/device/Terminal.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

constexpr int secondsPerDay = 86'400;

std::string timeText(int hours, int minutes, int seconds) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", hours, minutes, seconds);
  return text.data();
}

std::string timeText(int secondOfDay) {
  return timeText(secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60);
}

std::string dayText(const Date& date) { return toText(date).substr(0, 5); }

std::string rangeText(const std::optional<DateRange>& range) {
  return range ? dayText(range->first) + '-' + dayText(range->last) : "none";
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
  Shape shape;
  Outcome (*act)(Terminal&, Payload);
};

const Terminal::Command* Terminal::find(std::uint8_t code) {
  using T = Terminal&;
  using P = Payload;
  static const std::array commands{
      Command{10, {"SetTime", 3}, [](T t, P p) { return t.setTime(p); }},
      Command{11, {"SetDate", 4}, [](T t, P p) { return t.setDate(p); }},
      Command{12, {"SetCode10", 10, true}, [](T t, P p) { return t.mAdmission.setCode10(p); }},
      Command{13, {"SetCode4", 4, true}, [](T t, P p) { return t.mAdmission.setCode4(p); }},
      Command{15, {"GetData", 1}, [](T t, P p) { return t.getData(p); }},
      Command{16, {"SetKeyboard", 1}, [](T t, P p) { return t.setKeyboard(p); }},
      Command{17, {"SetReaderOnOff", 1}, [](T t, P p) { return t.mAdmission.setReader(p); }},
      Command{18, {"TestConnection", 0}, [](T t, P p) { return t.testConnection(p); }},
      Command{19, {"SetMainGroup", 1}, [](T t, P p) { return t.mAdmission.setMainGroup(p); }},
      Command{20, {"SetSubGroup", 1}, [](T t, P p) { return t.mAdmission.setSubGroup(p); }},
      Command{21, {"SendMsg", 35}, [](T t, P p) { return t.mAdmission.sendMessage(p); }},
      Command{22, {"alarms", 210, true}, [](T t, P p) { return t.mAdmission.setAlarms(p); }},
      Command{23, {"monitoring", 1}, [](T t, P p) { return t.switchMonitoring(p); }},
      Command{24, {"GetDeviceProperties", 0}, [](T t, P p) { return t.properties(p); }},
      Command{25, {"GetDataByDate", 7}, [](T t, P p) { return t.getDataByDate(p); }},
      Command{26, {"DefCards", 6}, [](T t, P p) { return t.mAdmission.setCardTable(p); }},
      Command{27, {"ResetMem", 1}, [](T t, P p) { return t.resetMem(p); }},
      Command{28, {"GetDataBuff", 0}, [](T t, P p) { return t.getDataBuff(p); }},
      Command{29, {"SetDayLight", 4}, [](T t, P p) { return t.setDayLight(p); }},
      Command{30, {"SendModeActive", 8}, [](T t, P p) { return t.mAdmission.activateModes(p); }},
      Command{31, {"SendModeStr", 129}, [](T t, P p) { return t.mAdmission.nameModes(p); }},
      Command{32, {"SetMode", 1}, [](T t, P p) { return t.mAdmission.setMode(p); }},
      Command{33, {"SetPersonAccessable", 1}, [](T t, P p) { return t.mAdmission.setAccess(p); }},
      Command{40, {"DeleteCardAll", 1}, [](T t, P p) { return t.mCards.removeAll(p); }},
      Command{41, {"DeleteCardSimple", 2}, [](T t, P p) { return t.mCards.remove(p); }},
      Command{42, {"AddCardSimple", 2}, [](T t, P p) { return t.mCards.add(p); }},
      Command{43,
              {"AddCardFile", CardList::longestBlock, false, &CardList::blockEnded, 9600},
              [](T t, P p) { return t.mCards.load(p); }},
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
  return command->shape;
}

Outcome Terminal::execute(std::uint8_t code, Payload payload) {
  const Command* command = find(code);
  if (!command) {
    return {
        .kind = Outcome::Kind::ignored, .text = "command " + hex(code), .problem = "not a command"};
  }
  return command->act(*this, payload);
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
  return {.kind = Outcome::Kind::stream,
          .text = "GetData" + speedText(payload[0]),
          .stream = mMemory.stream(),
          .speed = speedOf(payload[0])};
}

Outcome Terminal::getDataBuff(Payload) {
  return {.kind = Outcome::Kind::stream,
          .text = "GetDataBuff",
          .stream = mMemory.stream(),
          .speed = 4800};
}

Outcome Terminal::getDataByDate(Payload payload) {
  const auto first = dateFrom(payload.first(3));
  const auto last = dateFrom(payload.subspan(3, 3));
  // A reply byte would be taken for the first byte of the records.
  if (!first || !last) {
    return {.kind = Outcome::Kind::ignored,
            .text = "GetDataByDate" + hexText(payload),
            .problem = "no such dates"};
  }
  return {.kind = Outcome::Kind::stream,
          .text = "GetDataByDate " + toText(*first) + '-' + toText(*last) + speedText(payload[6]),
          .stream = mMemory.stream(DateRange{*first, *last}),
          .speed = speedOf(payload[6])};
}

Outcome Terminal::switchMonitoring(Payload payload) {
  if (payload[0] != 'T' && payload[0] != 'F')
    return refused("monitoring", payload, "neither \"T\" nor \"F\"");
  mMonitored = payload[0] == 'T';
  return accepted(std::string("monitoring ") + (mMonitored ? "on" : "off"));
}

/// Number, firmware 1.0, cards and records (two bytes each, high first), and a name.
Outcome Terminal::properties(Payload) {
  const auto highAndLow = [](std::size_t count) {
    return std::array{static_cast<std::uint8_t>(count >> 8 & 0xFF),
                      static_cast<std::uint8_t>(count & 0xFF)};
  };
  Bytes block{address(), 1, 0};
  for (const std::size_t count : {mCards.size(), mMemory.size()})
    for (const std::uint8_t byte : highAndLow(count)) block.push_back(byte);
  for (const char c : std::string("simulated terminal"))
    block.push_back(static_cast<std::uint8_t>(c));
  return {.kind = Outcome::Kind::block, .text = "GetDeviceProperties", .answer = block};
}

Bytes Terminal::nextEvent() {
  constexpr int people = 20;
  const ClockReading now = clock();
  ++mEvents;
  return {0xED,
          address(),
          toBcd(10),
          toBcd(mEvents % people),
          toBcd(now.second / 3600),
          toBcd(now.second / 60 % 60),
          static_cast<std::uint8_t>(mEvents >> 8 & 0xFF),
          static_cast<std::uint8_t>(mEvents & 0xFF)};
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
         rangeText(mDaylight) + ", " + std::to_string(mMemory.size()) + " records, " +
         std::to_string(mCards.size()) + " cards, " + mAdmission.text() + ", monitoring " +
         (mMonitored ? "on" : "off");
}

Json Terminal::stateFields() const {
  const ClockReading now = clock();
  Json fields{{"time", timeText(now.second)},
              {"date", toText(now.date)},
              {"weekday", weekday()},
              {"keypad", mKeyboard},
              {"daylight", rangeText(mDaylight)},
              {"records", mMemory.size()},
              {"cards", mCards.size()},
              {"monitoring", mMonitored}};
  fields.update(mAdmission.fields());
  return fields;
}

}  // namespace cronvel::simulator
