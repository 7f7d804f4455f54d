#include "platform/win32/LineState.h"

namespace cronvel {

using Parity = LineSettings::Parity;

namespace {

BYTE parityCode(Parity parity) {
  switch (parity) {
    case Parity::none:
      return NOPARITY;
    case Parity::odd:
      return ODDPARITY;
    case Parity::even:
      return EVENPARITY;
    case Parity::mark:
      return MARKPARITY;
    case Parity::space:
      return SPACEPARITY;
  }
  return NOPARITY;
}

BYTE stopCode(const SerialSettings& settings) {
  if (!settings.longStop) return ONESTOPBIT;
  return settings.dataBits == 5 ? ONE5STOPBITS : TWOSTOPBITS;
}

}  // namespace

DCB lineStateOf(const SerialSettings& settings) {
  DCB line{};
  line.DCBlength = sizeof line;
  line.BaudRate = static_cast<DWORD>(settings.speed);
  line.ByteSize = static_cast<BYTE>(settings.dataBits);
  line.Parity = parityCode(settings.parity);
  line.StopBits = stopCode(settings);
  line.fBinary = TRUE;
  line.XonChar = 17;
  line.XoffChar = 19;
  line.XonLim = line.XoffLim = 512;
  return line;
}

std::string missingIn(const DCB& line, const SerialSettings& settings) {
  if (line.BaudRate != static_cast<DWORD>(settings.speed))
    return "a speed of " + std::to_string(settings.speed) + " baud";
  // A line without hardware has a code of its own for a parity that it cannot name.
  if (line.Parity <= SPACEPARITY && line.Parity != parityCode(settings.parity))
    return settings.nameOfParity();
  return {};
}

}  // namespace cronvel
