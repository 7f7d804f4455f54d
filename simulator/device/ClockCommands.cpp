// Time, date, and when daylight saving begins and ends.

#include <array>

#include "simulator/device/Command.h"
#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

Outcome setTime(Device& device, Payload payload) {
  const auto seconds = fromBcd(payload[0]);
  const auto minutes = fromBcd(payload[1]);
  const auto hours = fromBcd(payload[2]);
  if (!seconds || !minutes || !hours) return refused(payload, "not a time: bad digits");
  const std::string text = timeText(*hours, *minutes, *seconds);
  if (*hours > 23 || *minutes > 59 || *seconds > 59)
    return refused(payload, "no such time: " + text);
  device.clock.set(device.clock.date(), *hours * 3600 + *minutes * 60 + *seconds);
  return accepted(" " + text);
}

Outcome setDate(Device& device, Payload payload) {
  const auto date = dateFrom(std::array{payload[3], payload[2], payload[1]});
  if (!date) return refused(payload, "no such date");
  device.clock.set(*date, device.clock.secondOfDay());
  device.clock.weekday(payload[0]);
  return accepted(" " + toText(*date) + " weekday " + std::to_string(payload[0]));
}

Outcome setDayLight(Device& device, Payload payload) {
  const auto first = dayAndMonth(payload.first(2));
  const auto last = dayAndMonth(payload.subspan(2));
  if (!first || !last) return refused(payload, "no such dates");
  device.daylight = DateRange{*first, *last};
  return accepted(" " + rangeText(device.daylight));
}

constexpr Command commands[] = {
    {10, "SetTime", 3, setTime},
    {11, "SetDate", 4, setDate},
    {29, "SetDayLight", 4, setDayLight},
};

}  // namespace

std::span<const Command> clockCommands() { return commands; }

}  // namespace cronvel::simulator
