#include "platform/win32/LineState.h"

#include <winioctl.h>
using PHYSICAL_ADDRESS = LARGE_INTEGER;  // which the next header has from the driver kit
#include <ntddser.h>

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

/// A line without hardware may have a parity that it cannot name. It then answers with nothing,
/// which the call for the whole state would fill with what the stack holds.
constexpr BYTE unnamedParity = 0xFF;

BYTE parityOf(HANDLE device) {
  SERIAL_LINE_CONTROL control{};
  control.Parity = unnamedParity;
  DWORD size = 0;
  if (DeviceIoControl(device, IOCTL_SERIAL_GET_LINE_CONTROL, nullptr, 0, &control, sizeof control,
                      &size, nullptr) == 0)
    return unnamedParity;
  return control.Parity;
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

std::string missingIn(HANDLE device, const SerialSettings& settings) {
  DCB line{};
  line.DCBlength = sizeof line;
  if (GetCommState(device, &line) != 0 && !settings.toleratesSpeed(line.BaudRate))
    return "a speed of " + std::to_string(settings.speed) + " baud";
  if (const BYTE parity = parityOf(device);
      parity != unnamedParity && parity != parityCode(settings.parity))
    return settings.nameOfParity();
  return {};
}

}  // namespace cronvel
