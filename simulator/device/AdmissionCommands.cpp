// Whom a terminal admits: reader, groups, codes, access.

#include <algorithm>

#include "simulator/base/Text.h"
#include "simulator/device/Command.h"
#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

/// Hosts wait a second after a group and discard what comes meanwhile.
constexpr int groupDelay = 1150;

/// A key of the terminal's keypad.
struct Key {
  std::uint8_t number;
  char sign;
};
constexpr Key keys[] = {{19, '1'}, {18, '2'}, {17, '3'}, {14, '4'}, {13, '5'}, {12, '6'},
                        {9, '7'},  {8, '8'},  {7, '9'},  {23, '0'}, {48, '@'}};

Outcome setReader(Device& device, Payload payload) {
  const auto on = switchFrom(payload[0]);
  if (!on) return refused(payload, noSwitch);
  device.reader = *on;
  return accepted(" " + onOff(*on));
}

Outcome setAccess(Device& device, Payload payload) {
  const auto barred = switchFrom(payload[0]);
  if (!barred) return refused(payload, noSwitch);
  device.access = !*barred;
  return accepted(device.access ? " open" : " closed");
}

Outcome setGroup(int& group, Payload payload) {
  const auto number = fromBcd(payload[0]);
  Outcome outcome =
      number ? accepted(" " + std::to_string(*number)) : refused(payload, "no group: bad digits");
  if (number) group = *number;
  outcome.answer.delay = groupDelay;
  return outcome;
}

Outcome setCode(std::string& code, Payload payload) {
  std::string signs;
  for (const std::uint8_t number : payload) {
    const auto* const key = std::ranges::find(keys, number, &Key::number);
    if (key == std::end(keys))
      return refused(payload, "no key has the number " + std::to_string(number));
    signs += key->sign;
  }
  code = signs;
  return accepted(" " + inQuotes(code));
}

constexpr Command commands[] = {
    {12, "SetCode10", 10, [](Device& d, Payload p) { return setCode(d.code10, p); }, true},
    {13, "SetCode4", 4, [](Device& d, Payload p) { return setCode(d.code4, p); }, true},
    {17, "SetReaderOnOff", 1, setReader},
    {19, "SetMainGroup", 1, [](Device& d, Payload p) { return setGroup(d.mainGroup, p); }},
    {20, "SetSubGroup", 1, [](Device& d, Payload p) { return setGroup(d.subGroup, p); }},
    {33, "SetPersonAccessable", 1, setAccess},
};

}  // namespace

std::span<const Command> admissionCommands() { return commands; }

}  // namespace cronvel::simulator
