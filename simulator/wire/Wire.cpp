#include "simulator/wire/Wire.h"

namespace cronvel::simulator {

std::string parityText(LineSettings::Parity parity) {
  switch (parity) {
    case LineSettings::Parity::odd:
      return "odd";
    case LineSettings::Parity::even:
      return "even";
    case LineSettings::Parity::mark:
      return "mark";
    case LineSettings::Parity::space:
      return "space";
    case LineSettings::Parity::none:
      break;
  }
  return "none";
}

std::string settingsText(const LineSettings& settings) {
  if (settings.speed == 0) return "closed (nobody has it open)";
  return std::to_string(settings.speed) + " baud with parity " + parityText(settings.parity);
}

}  // namespace cronvel::simulator
