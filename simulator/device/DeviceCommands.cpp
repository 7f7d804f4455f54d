// The rest: the connection, the keypad, alarms, monitoring, and what the terminal says of itself.

#include "simulator/base/Text.h"
#include "simulator/device/Command.h"

namespace cronvel::simulator {

namespace {

constexpr std::size_t timetableSize = 72;
constexpr std::size_t alarmTableSize = 210;

Outcome setKeyboard(Device& device, Payload payload) {
  device.keypad = payload[0];
  return accepted(" " + std::to_string(device.keypad));
}

Outcome testConnection(Device&, Payload) { return accepted(); }

/// Two commands with one code: a timetable that nobody waits for an answer to, and a table that is
/// answered.
Outcome setAlarms(Device& device, Payload payload) {
  const bool timetable = payload.size() == timetableSize;
  if (!timetable && payload.size() != alarmTableSize)
    return ignored("alarms in " + std::to_string(payload.size()) + " bytes",
                   "neither a timetable of 72 nor a table of 210 bytes");
  device.alarmBytes = payload.size();
  return timetable ? quiet("SetAlarm, 24 entries") : accepted("DefAlarms, 210 bytes");
}

Outcome switchMonitoring(Device& device, Payload payload) {
  const auto on = switchFrom(payload[0]);
  if (!on) return refused(payload, noSwitch);
  device.monitored = *on;
  return accepted(" " + onOff(*on));
}

/// Number, firmware 1.0, cards and records (two bytes each, high first), and a name.
Outcome properties(Device& device, Payload) {
  Bytes block{device.address(), 1, 0};
  for (const std::size_t count : {device.cards.size(), device.memory.size()}) {
    block.push_back(static_cast<std::uint8_t>(count >> 8 & 0xFF));
    block.push_back(static_cast<std::uint8_t>(count & 0xFF));
  }
  for (const char c : std::string_view("simulated terminal"))
    block.push_back(static_cast<std::uint8_t>(c));
  return replied(block);
}

constexpr Command commands[] = {
    {16, "SetKeyboard", 1, setKeyboard},        {18, "TestConnection", 0, testConnection},
    {22, "", alarmTableSize, setAlarms, true},  {23, "monitoring", 1, switchMonitoring},
    {24, "GetDeviceProperties", 0, properties},
};

}  // namespace

std::span<const Command> deviceCommands() { return commands; }

}  // namespace cronvel::simulator
