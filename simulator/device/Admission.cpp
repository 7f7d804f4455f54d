#include "simulator/device/Admission.h"

#include <algorithm>
#include <optional>

#include "simulator/display/Display.h"
#include "simulator/memory/Bcd.h"

namespace cronvel::simulator {

namespace {

constexpr std::size_t timetableSize = 72;
constexpr std::size_t alarmTableSize = 210;
constexpr std::size_t modeNameSize = 16;
/// Hosts wait a second after a group and discard what comes meanwhile.
constexpr int groupDelay = 1150;

/// The key with this number on the terminal's keypad; 0 for none.
char keyFrom(std::uint8_t number) {
  switch (number) {
    case 19:
      return '1';
    case 18:
      return '2';
    case 17:
      return '3';
    case 14:
      return '4';
    case 13:
      return '5';
    case 12:
      return '6';
    case 9:
      return '7';
    case 8:
      return '8';
    case 7:
      return '9';
    case 23:
      return '0';
    case 48:
      return '@';
    default:
      return 0;
  }
}

std::optional<bool> switchFrom(std::uint8_t byte) {
  if (byte == 'T') return true;
  if (byte == 'F') return false;
  return std::nullopt;
}

std::string onOff(bool on) { return on ? "on" : "off"; }

std::string inQuotes(const std::string& text) { return '"' + text + '"'; }

}  // namespace

Outcome Admission::setReader(Payload payload) {
  const auto on = switchFrom(payload[0]);
  if (!on) return refused("SetReaderOnOff", payload, "neither \"T\" nor \"F\"");
  mReader = *on;
  return accepted("SetReaderOnOff " + onOff(mReader));
}

Outcome Admission::setGroup(const std::string& name, int& group, Payload payload) {
  const auto number = fromBcd(payload[0]);
  Outcome outcome = number ? accepted(name + ' ' + std::to_string(*number))
                           : refused(name, payload, "no group: bad digits");
  if (number) group = *number;
  outcome.minimumDelay = groupDelay;
  return outcome;
}

Outcome Admission::setCode(const std::string& name, std::string& code, Payload payload) {
  std::string keys;
  for (const std::uint8_t number : payload) {
    const char key = keyFrom(number);
    if (key == 0) return refused(name, payload, "no key has the number " + std::to_string(number));
    keys += key;
  }
  code = keys;
  return accepted(name + ' ' + inQuotes(code));
}

Outcome Admission::sendMessage(Payload payload) {
  if (payload.back() != 1) return refused("SendMsg", payload, "it does not end in 01");
  const int card = payload[0] + payload[1] * 256;
  const Payload codes = payload.subspan(2, 32);
  mMessage = displayedText(codes);
  return accepted("SendMsg to card " + std::to_string(card) + ", shows " + inQuotes(mMessage) +
                  ", drawn " + inQuotes(displayedForms(codes)));
}

Outcome Admission::setMode(Payload payload) {
  if (payload[0] >= mModeNames.size()) return refused("SetMode", payload, "modes are 0 to 7");
  mMode = payload[0];
  return accepted("SetMode " + std::to_string(mMode));
}

Outcome Admission::nameModes(Payload payload) {
  if (payload[0] != '$')
    return refused("SendModeStr", payload.first(1), "it does not start with $");
  std::string text = "SendModeStr, shows";
  for (std::size_t i = 0; i < mModeNames.size(); ++i) {
    mModeNames[i] = displayedText(payload.subspan(1 + i * modeNameSize, modeNameSize));
    text += ' ' + inQuotes(mModeNames[i]);
  }
  return accepted(text);
}

Outcome Admission::activateModes(Payload payload) {
  if (!std::all_of(payload.begin(), payload.end(), [](auto b) { return switchFrom(b); }))
    return refused("SendModeActive", payload, "neither \"T\" nor \"F\"");
  mActiveModes.assign(payload.begin(), payload.end());
  return accepted("SendModeActive " + mActiveModes);
}

Outcome Admission::setAccess(Payload payload) {
  const auto barred = switchFrom(payload[0]);
  if (!barred) return refused("SetPersonAccessable", payload, "neither \"T\" nor \"F\"");
  mAccess = !*barred;
  return accepted(std::string("SetPersonAccessable ") + (mAccess ? "open" : "closed"));
}

Outcome Admission::setAlarms(Payload payload) {
  const bool timetable = payload.size() == timetableSize;
  if (!timetable && payload.size() != alarmTableSize)
    return {.kind = Outcome::Kind::ignored,
            .text = "alarms in " + std::to_string(payload.size()) + " bytes",
            .problem = "neither a timetable of 72 nor a table of 210 bytes"};
  mAlarmBytes = payload.size();
  if (!timetable) return accepted("DefAlarms, 210 bytes");
  return {.kind = Outcome::Kind::quiet, .text = "SetAlarm, 24 entries"};
}

Outcome Admission::setCardTable(Payload payload) {
  mCardTable = hexText(payload);
  return accepted("DefCards" + mCardTable);
}

std::string Admission::text() const {
  return "reader " + onOff(mReader) + ", access " + (mAccess ? "open" : "closed") + ", groups " +
         std::to_string(mMainGroup) + '/' + std::to_string(mSubGroup) + ", mode " +
         std::to_string(mMode);
}

Json Admission::fields() const {
  return {{"reader", mReader}, {"main_group", mMainGroup},   {"sub_group", mSubGroup},
          {"code4", mCode4},   {"code10", mCode10},          {"message", mMessage},
          {"mode", mMode},     {"mode_names", mModeNames},   {"modes_active", mActiveModes},
          {"access", mAccess}, {"alarm_bytes", mAlarmBytes}, {"card_table", mCardTable}};
}

}  // namespace cronvel::simulator
