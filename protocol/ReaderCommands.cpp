#include "protocol/ReaderCommands.h"

#include "protocol/CommandExchange.h"
#include "runtime/Conversion.h"
#include "runtime/PackedBcd.h"

namespace cronvel {
namespace {

constexpr int readerCode = 17;
constexpr int noPause = 0;
constexpr int groupPause = 1000;
constexpr std::uint8_t highestGroup = 99;
constexpr std::size_t messageLength = 32;

/// The terminal's numbers for its keys "0" to "9".
constexpr int keyNumbers[] = {23, 19, 18, 17, 14, 13, 12, 9, 8, 7};
constexpr int atKey = 48;

int digitKey(char16_t c) { return keyNumbers[c >= u'0' && c <= u'9' ? c - u'0' : 0]; }

/// As `digitKey`, but it knows the "@" key, and what has no key is sent as 0.
int anyKey(char16_t c) {
  if (c == u'@') return atKey;
  return c >= u'0' && c <= u'9' ? digitKey(c) : 0;
}

}  // namespace

void ReaderCommands::storeReaderOn(bool New_ReaderOn) {
  mLinks.host.setInRunMode(mLinks.state.ReaderOn, New_ReaderOn, "ReaderOn");
}

void ReaderCommands::ReaderOn(bool New_ReaderOn) {
  CommandExchange exchange(mLinks, {.code = readerCode, .monitoring = notHeld});
  if (!exchange.carrierPresent()) return;
  storeReaderOn(New_ReaderOn);
  exchange.sendSwitch(New_ReaderOn);
}

bool ReaderCommands::SetReaderOnOff(const std::u16string& sRemoteHost, bool New_ReaderOn) {
  CommandExchange exchange(mLinks, sRemoteHost,
                           {.code = readerCode, .monitoring = alwaysRestored, .wait = {5, 25}});
  if (!exchange.carrierPresent()) return false;
  exchange.holdMonitoring();
  storeReaderOn(New_ReaderOn);
  exchange.connect();
  return exchange
      .converse([&](CommandExchange& body) { body.send(New_ReaderOn ? 'T' : 'F', noPause); })
      .accepted();
}

bool ReaderCommands::SetMainGroup(const std::u16string& sRemoteHost, std::uint8_t mG) {
  return setGroup(19, sRemoteHost, mG);
}

bool ReaderCommands::SetSubGroup(const std::u16string& sRemoteHost, std::uint8_t mG) {
  return setGroup(20, sRemoteHost, mG);
}

bool ReaderCommands::setGroup(int code, const std::u16string& sRemoteHost, std::uint8_t mG) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = code});
  if (!exchange.carrierPresent()) return false;
  exchange.holdMonitoring();
  if (mG > highestGroup) {
    mLinks.note(NoteKind::notSent,
                "group " + std::to_string(mG) + " is not sent: groups go from 0 to 99");
    return false;
  }
  exchange.connect();
  return exchange.converse([&](CommandExchange& body) { body.send(bcdByte(mG), groupPause); })
      .accepted();
}

bool ReaderCommands::SetCode4(const std::u16string& sRemoteHost, const std::u16string& mCode) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 13});
  return exchange
      .run([&](CommandExchange& body) {
        for (const char16_t c : mCode.substr(0, 4)) body.send(digitKey(c));
      })
      .accepted();
}

bool ReaderCommands::SetCode10(const std::u16string& sRemoteHost, const std::u16string& mCode) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 12});
  return exchange
      .run([&](CommandExchange& body) {
        for (const char16_t c : mCode.substr(0, 10)) body.send(anyKey(c));
      })
      .accepted();
}

bool ReaderCommands::SendMsg(const std::u16string& sRemoteHost, const std::u16string& CardNum,
                             const std::u16string& inMsg) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 21});
  return exchange
      .run([&](CommandExchange& body) {
        const std::int32_t card = toLong(numericValue(CardNum));
        const std::int32_t high = card / 256;
        body.send(toByte(card % 256));
        body.send(toByte(high));
        // One blank at least ends the text.
        body.sendText(inMsg, messageLength - 1);
        body.send(' ');
        body.send(1);
      })
      .accepted();
}

}  // namespace cronvel
