#include "platform/posix/Termios.h"

#include <algorithm>
#include <array>

namespace cronvel {

using Parity = LineSettings::Parity;

namespace {

struct Speed {
  std::int32_t baud;
  speed_t code;
};

constexpr std::array speeds = {
    Speed{50, B50},           Speed{75, B75},           Speed{110, B110},
    Speed{134, B134},         Speed{150, B150},         Speed{200, B200},
    Speed{300, B300},         Speed{600, B600},         Speed{1200, B1200},
    Speed{1800, B1800},       Speed{2400, B2400},       Speed{4800, B4800},
    Speed{9600, B9600},       Speed{19200, B19200},     Speed{38400, B38400},
    Speed{57600, B57600},     Speed{115200, B115200},   Speed{230400, B230400},
    Speed{460800, B460800},   Speed{500000, B500000},   Speed{576000, B576000},
    Speed{921600, B921600},   Speed{1000000, B1000000}, Speed{1152000, B1152000},
    Speed{1500000, B1500000}, Speed{2000000, B2000000}, Speed{2500000, B2500000},
    Speed{3000000, B3000000}, Speed{3500000, B3500000}, Speed{4000000, B4000000},
};

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
