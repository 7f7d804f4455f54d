#include "simulator/device/Device.h"

#include "simulator/base/Text.h"
#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

std::string dayText(const Date& date) { return toText(date).substr(0, 5); }

std::string openClosed(bool open) { return open ? "open" : "closed"; }

Json eachOf(const std::array<Display, 8>& rows, std::string Display::*side) {
  Json texts;
  for (const Display& row : rows) texts.push_back(row.*side);
  return texts;
}

}  // namespace

std::uint8_t Device::address() const { return toBcd(number); }

std::string Device::text() const {
  return "shows " + timeText(clock.secondOfDay()) + ' ' + toText(clock.date()) + " weekday " +
         std::to_string(clock.weekday()) + ", keypad " + std::to_string(keypad) + ", daylight " +
         rangeText(daylight) + ", " + std::to_string(memory.size()) + " records, " +
         std::to_string(cards.size()) + " cards, reader " + onOff(reader) + ", access " +
         openClosed(access) + ", groups " + std::to_string(mainGroup) + '/' +
         std::to_string(subGroup) + ", mode " + std::to_string(mode) + ", monitoring " +
         onOff(monitored);
}

Json Device::fields() const {
  return {{"time", timeText(clock.secondOfDay())},
          {"date", toText(clock.date())},
          {"weekday", clock.weekday()},
          {"keypad", keypad},
          {"daylight", rangeText(daylight)},
          {"records", memory.size()},
          {"cards", cards.size()},
          {"monitoring", monitored},
          {"reader", reader},
          {"main_group", mainGroup},
          {"sub_group", subGroup},
          {"code4", code4},
          {"code10", code10},
          {"message", message.read},
          {"message_row", message.drawn},
          {"mode", mode},
          {"mode_names", eachOf(modeNames, &Display::read)},
          {"mode_rows", eachOf(modeNames, &Display::drawn)},
          {"modes_active", activeModes},
          {"access", access},
          {"alarm_bytes", alarmBytes},
          {"card_table", cardTable}};
}

std::string rangeText(const std::optional<DateRange>& range) {
  return range ? dayText(range->first) + '-' + dayText(range->last) : "none";
}

}  // namespace cronvel::simulator
