#include "protocol/ClockCommands.h"

#include "protocol/CommandExchange.h"
#include "runtime/Conversion.h"
#include "runtime/PackedBcd.h"

namespace cronvel {
namespace {

constexpr int noPause = 0;

/// Two characters of a text, from position `start`, as the two digits of a byte. A character that
/// is no digit, or is missing, counts as 0.
int bcdByteOfText(const std::u16string& text, std::size_t start) {
  const auto digit = [&text](std::size_t position) {
    return position < text.size() ? numericValue(text.substr(position, 1)) : 0;
  };
  return toByte(digit(start) * 16 + digit(start + 1));
}

}  // namespace

bool ClockCommands::SetTime(const std::u16string& sRemoteHost, const Variant& mTime) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 10, .network = NetworkVariant::listen});
  return exchange
      .run([&](CommandExchange& body) {
        const int seconds = secondsOfDay(mTime);
        body.send(bcdByte(seconds % 60));
        body.send(bcdByte(seconds / 60 % 60));
        body.send(bcdByte(seconds / 3600));
      })
      .accepted();
}

bool ClockCommands::SetDate(const std::u16string& sRemoteHost, const std::u16string& mdate,
                            std::uint8_t mDay) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 11});
  return exchange
      .run([&](CommandExchange& body) {
        body.send(mDay);
        body.send(bcdByteOfText(mdate, 6));  // year
        body.send(bcdByteOfText(mdate, 3));  // month
        body.send(bcdByteOfText(mdate, 0), noPause);
      })
      .accepted();
}

bool ClockCommands::SetDayLight(const std::u16string& sRemoteHost, std::uint8_t d1, std::uint8_t m1,
                                std::uint8_t d2, std::uint8_t m2) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 29, .monitoring = alwaysOff});
  return exchange
      .run([&](CommandExchange& body) {
        for (const std::uint8_t field : {d1, m1, d2, m2}) body.send(bcdByte(field));
      })
      .accepted();
}

bool ClockCommands::ResetMem(const std::u16string& sRemoteHost) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 27});
  return exchange.run([](CommandExchange& body) { body.send('T', noPause); }).accepted();
}

bool ClockCommands::TestConnection(const std::u16string& sRemoteHost) {
  CommandExchange exchange(mLinks, sRemoteHost,
                           {.code = 18,
                            .network = NetworkVariant::listen,
                            .bodySettings = "600,n,8,1",
                            .discardOutput = true,
                            .monitoring = alwaysRestored});
  return exchange.run([](CommandExchange&) {}).accepted();
}

bool ClockCommands::SetKeyboard(const std::u16string& sRemoteHost, std::uint8_t mKey) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 16});
  return exchange.run([&](CommandExchange& body) { body.send(mKey, noPause); }).accepted();
}

}  // namespace cronvel
