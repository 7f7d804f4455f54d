#include "platform/posix/SerialSettings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <vector>

#include "runtime/RunTimeError.h"

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
  for (const Speed& speed : speeds) list += (list.empty() ? "" : ", ") + std::to_string(speed.baud);
  return list;
}

const Speed& parseSpeed(std::string_view text, const std::string& field) {
  std::int32_t baud = 0;
  const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), baud);
  const auto* known = std::ranges::find(speeds, baud, &Speed::baud);
  if (error != std::errc() || end != field.data() + field.size() || known == speeds.end())
    refuse(text, "ask for a speed that cannot be used; use one of " + knownSpeeds());
  return *known;
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

SerialSettings SerialSettings::parse(std::string_view text) {
  const auto fields = fieldsOf(text);
  if (fields.size() != 4)
    refuse(text, "cannot be read; write speed, parity, data bits and stop bits as in 600,m,8,1");
  SerialSettings settings;
  const Speed& speed = parseSpeed(text, fields[0]);
  settings.speed = speed.baud;
  settings.speedCode = speed.code;
  settings.parity = parseParity(text, fields[1]);
  settings.dataBits = parseDataBits(text, fields[2]);
  settings.longStop = parseLongStop(text, fields[3], settings.dataBits);
  return settings;
}

void SerialSettings::applyTo(termios& line) const {
  line.c_cflag &= ~(parityFlags | tcflag_t{CSIZE} | tcflag_t{CSTOPB});
  line.c_cflag |= flagsOf(parity) | sizeFlag(dataBits) | (longStop ? tcflag_t{CSTOPB} : 0);
  cfsetospeed(&line, speedCode);
  cfsetispeed(&line, speedCode);
}

std::string SerialSettings::missingIn(const termios& line) const {
  if (cfgetospeed(&line) != speedCode) return "a speed of " + std::to_string(speed) + " baud";
  constexpr tcflag_t visible = parityFlags & ~tcflag_t{PARENB};
  if ((line.c_cflag & visible) == (flagsOf(parity) & visible)) return {};
  return parity == Parity::mark || parity == Parity::space ? "mark and space parity"
                                                           : "this parity";
}

int SerialSettings::bitsPerByte() const {
  return 1 + dataBits + (parity == Parity::none ? 0 : 1) + (longStop ? 2 : 1);
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
