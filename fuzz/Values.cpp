// Texts that become numbers, times and port settings.

#include <sstream>

#include "fuzz/Harness.h"
#include "fuzz/NumberModel.h"
#include "platform/system/SerialSettings.h"
#include "runtime/Conversion.h"

namespace cronvel::fuzz {
namespace {

/// The error of rounding it to an integer of that range, or none.
int errorOf(std::optional<double> number, double lowest, double highest) {
  if (!number) return 13;
  const double rounded = std::nearbyint(*number);
  return rounded >= lowest && rounded <= highest ? 0 : 6;
}

void checkNumbers(const std::string& text, const std::u16string& wide) {
  const auto number = numberOf(text);
  double found = 0;
  require(test::errorOf([&] { found = toNumber(wide); }), number ? 0 : 13, "error of toNumber");
  require(found, number.value_or(0), "toNumber");
  const double leading = numericValue(wide);
  require(leading, leadingValue(text), "numericValue");
  std::int64_t whole = 0;
  require(test::errorOf([&] { whole = toLong(wide); }), errorOf(number, INT32_MIN, INT32_MAX),
          "error of toLong");
  if (whole != 0) require(static_cast<double>(whole), std::nearbyint(*number), "toLong");
  require(test::errorOf([&] { toByte(leading); }), errorOf(leading, 0, 255), "error of toByte");
  const bool isWord = text == "True" || text == "true" || text == "False" || text == "false";
  require(test::errorOf([&] { convertLike(wide, true); }), isWord || number ? 0 : 13, "Boolean");
  require(test::errorOf([&] { convertLike(wide, std::int16_t{0}); }),
          errorOf(number, -32768, 32767), "error of a 16-bit integer");
}

void checkTime(const std::string& text, const std::u16string& wide) {
  static const std::regex form(" *([0-9]{1,2})(:([0-9]{1,2}))?(:([0-9]{1,2}))? *([AaPp][Mm])? *");
  std::smatch found;
  int seconds = -1;
  if (std::regex_match(text, found, form) && (found[2].matched || found[6].matched)) {
    const auto part = [&](std::size_t i) { return found[i].matched ? std::stoi(found[i]) : 0; };
    int hour = part(1);
    const bool valid = found[6].matched ? hour >= 1 && hour <= 12 : hour < 24;
    if (found[6].matched) hour = hour % 12 + ((found[6].str()[0] | 32) == 'p' ? 12 : 0);
    if (valid && part(3) < 60 && part(5) < 60) seconds = hour * 3600 + part(3) * 60 + part(5);
  }
  int result = -1;
  require(test::errorOf([&] { result = secondsOfDay(wide); }), seconds < 0 ? 13 : 0,
          "time's error");
  require(result, seconds, "time");
}

void checkSettings(std::string text) {
  static const std::regex form("0*([0-9]{3,7}),([noems]),(([5-8]),(1|2)|(5),(1\\.5))",
                               std::regex::icase);
  SerialSettings found;
  const int error = test::errorOf([&] { found = SerialSettings::parse(text); });
  std::erase(text, ' ');
  std::smatch parts;
  const bool valid = std::regex_match(text, parts, form);
  const std::string known = " 110 150 300 600 1200 2400 4800 9600 19200 ";
  const bool must = valid && known.find(" " + parts[1].str() + " ") != std::string::npos;
  require(error, must || (valid && error == 0) ? 0 : 380, "error of settings");
  if (error != 0) return;
  require(found.speed, std::stoi(parts[1]), "speed");
  require("noems"[static_cast<int>(found.parity)], parts[2].str()[0] | 32, "parity");
  require(found.dataBits, std::stoi(parts[4].str() + parts[6].str()), "data bits");
  require(found.longStop, parts[5] != "1", "stop bits");
}

}  // namespace
}  // namespace cronvel::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cronvel::fuzz;
  std::istringstream lines(Input(data, std::min<std::size_t>(size, 1500)).rest());
  for (std::string text; std::getline(lines, text);) {
    std::u16string wide;
    for (const char c : text) wide += static_cast<unsigned char>(c);
    checkNumbers(text, wide);
    checkTime(text, wide);
    checkSettings(text);
  }
  return 0;
}
