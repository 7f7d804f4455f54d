#include "platform/system/SerialSettings.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <vector>

#include "platform/system/SerialSpeeds.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

using Parity = LineSettings::Parity;

namespace {

#define ROW(speed) speed,
constexpr int speeds[] = {CRONVEL_SERIAL_SPEEDS(ROW)};
#undef ROW

[[noreturn]] void refuse(std::string_view text, const std::string& why) {
  throw RunTimeError(ErrorNumber::invalidPropertyValue,
                     "the port settings \"" + std::string(text) + "\" " + why);
}

std::vector<std::string> fieldsOf(std::string_view text) {
  std::vector<std::string> fields(1);
  for (const char c : text) {
    if (c == ',')
      fields.emplace_back();
    else if (c != ' ')
      fields.back() += c;
  }
  return fields;
}

std::string knownSpeeds() {
  std::string list;
  for (const int speed : speeds) list += (list.empty() ? "" : ", ") + std::to_string(speed);
  return list;
}

std::int32_t parseSpeed(std::string_view text, const std::string& field) {
  std::int32_t baud = 0;
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), baud);
  if (error != std::errc() || end != field.data() + field.size() ||
      std::ranges::count(speeds, baud) == 0)
    refuse(text, "ask for a speed that cannot be used; use one of " + knownSpeeds());
  return baud;
}

Parity parseParity(std::string_view text, const std::string& field) {
  constexpr std::string_view letters = "noemsNOEMS";  // in the order of the enumeration, twice
  const auto at = field.size() == 1 ? letters.find(field[0]) : std::string_view::npos;
  if (at == std::string_view::npos)
    refuse(text, "have an unknown parity; use n, o, e, m or s (none, odd, even, mark, space)");
  return static_cast<Parity>(at % 5);
}

int parseDataBits(std::string_view text, const std::string& field) {
  if (field.size() != 1 || field[0] < '5' || field[0] > '8')
    refuse(text, "have an unknown number of data bits; use 5 to 8");
  return field[0] - '0';
}

bool parseLongStop(std::string_view text, const std::string& field, int dataBits) {
  if (field == "1") return false;
  if (field == "2" || (field == "1.5" && dataBits == 5)) return true;
  refuse(text, "have an unknown number of stop bits; use 1 or 2 (1.5 with 5 data bits only)");
}

}  // namespace

SerialSettings SerialSettings::parse(std::string_view text) {
  const auto fields = fieldsOf(text);
  if (fields.size() != 4)
    refuse(text, "cannot be read; write speed, parity, data bits and stop bits as in 600,m,8,1");
  SerialSettings settings;
  settings.speed = parseSpeed(text, fields[0]);
  settings.parity = parseParity(text, fields[1]);
  settings.dataBits = parseDataBits(text, fields[2]);
  settings.longStop = parseLongStop(text, fields[3], settings.dataBits);
  return settings;
}

int SerialSettings::bitsPerByte() const {
  return 1 + dataBits + (parity == Parity::none ? 0 : 1) + (longStop ? 2 : 1);
}

bool SerialSettings::toleratesSpeed(std::int64_t actual) const {
  return 40 * std::abs(actual - speed) <= speed;
}

std::string SerialSettings::nameOfParity() const {
  return parity == Parity::mark || parity == Parity::space ? "mark and space parity"
                                                           : "this parity";
}

}  // namespace cronvel
