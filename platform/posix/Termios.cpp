#include "platform/posix/Termios.h"

#include <algorithm>
#include <array>

#include "platform/system/SerialSpeeds.h"

namespace cronvel {

using Parity = LineSettings::Parity;

namespace {

struct Speed {
  std::int32_t baud;
  speed_t code;
};

#define ROW(speed) Speed{speed, B##speed},
constexpr std::array speeds = {CRONVEL_SERIAL_SPEEDS(ROW)};
#undef ROW

constexpr tcflag_t parityFlags = PARENB | PARODD | tcflag_t{CMSPAR};
constexpr tcflag_t rawInputOff =
    IGNBRK | BRKINT | PARMRK | INPCK | IGNPAR | ISTRIP | INLCR | IGNCR | ICRNL | IUCLC | IMAXBEL;
constexpr tcflag_t rawLocalOff = ECHO | ECHOE | ECHOK | ECHONL | ICANON | ISIG | IEXTEN | TOSTOP;

/// Of a speed that a settings text can name: all of them are in the table.
speed_t codeOf(std::int32_t baud) { return std::ranges::find(speeds, baud, &Speed::baud)->code; }

tcflag_t flagsOf(Parity parity) {
  switch (parity) {
    case Parity::none:
      return 0;
    case Parity::odd:
      return PARENB | PARODD;
    case Parity::even:
      return PARENB;
    case Parity::mark:
      return parityFlags;
    case Parity::space:
      return PARENB | tcflag_t{CMSPAR};
  }
  return 0;
}

tcflag_t sizeFlag(int dataBits) {
  constexpr std::array<tcflag_t, 4> sizes = {CS5, CS6, CS7, CS8};
  return sizes[static_cast<std::size_t>(dataBits - 5)];
}

}  // namespace

void applyTo(termios& line, const SerialSettings& settings) {
  line.c_cflag &= ~(parityFlags | tcflag_t{CSIZE} | tcflag_t{CSTOPB});
  line.c_cflag |= flagsOf(settings.parity) | sizeFlag(settings.dataBits) |
                  (settings.longStop ? tcflag_t{CSTOPB} : 0);
  cfsetospeed(&line, codeOf(settings.speed));
  cfsetispeed(&line, codeOf(settings.speed));
}

std::string missingIn(const termios& line, const SerialSettings& settings) {
  if (cfgetospeed(&line) != codeOf(settings.speed))
    return "a speed of " + std::to_string(settings.speed) + " baud";
  constexpr tcflag_t visible = parityFlags & ~tcflag_t{PARENB};
  if ((line.c_cflag & visible) == (flagsOf(settings.parity) & visible)) return {};
  return settings.nameOfParity();
}

void makeRaw(termios& line) {
  line.c_iflag &= ~(rawInputOff | tcflag_t{IXON} | tcflag_t{IXOFF} | tcflag_t{IXANY});
  line.c_oflag &= ~tcflag_t{OPOST};
  line.c_lflag &= ~rawLocalOff;
  line.c_cc[VMIN] = 1;  // so that reading 0 bytes means that the line was hung up
  line.c_cc[VTIME] = 0;
}

bool isRaw(const termios& line) {
  termios raw = line;
  makeRaw(raw);
  return raw.c_iflag == line.c_iflag && raw.c_oflag == line.c_oflag && raw.c_lflag == line.c_lflag;
}

LineSettings lineSettingsOf(const termios& line) {
  LineSettings settings;
  const auto* speed = std::ranges::find(speeds, cfgetospeed(&line), &Speed::code);
  settings.speed = speed == speeds.end() ? 0 : speed->baud;
  if ((line.c_cflag & tcflag_t{CMSPAR}) != 0)
    settings.parity = (line.c_cflag & PARODD) != 0 ? Parity::mark : Parity::space;
  return settings;
}

}  // namespace cronvel
