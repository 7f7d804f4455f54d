#include "protocol/CardList.h"

#include <functional>
#include <optional>

#include "protocol/CommandExchange.h"
#include "runtime/Conversion.h"
#include "runtime/DelimitedInput.h"
#include "runtime/File.h"
#include "runtime/PackedBcd.h"
#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

constexpr int noPause = 0;
constexpr int blockEdge = 0xAA;
constexpr std::uint8_t noReply = 255;
constexpr std::size_t longestNumber = 4;

CommandForm cardForm(int code) { return {.code = code, .monitoring = alwaysRestored}; }

std::uint8_t resultOf(const Outcome& outcome) {
  if (outcome.kind == Outcome::Kind::noCarrier) return 0;
  return outcome.reply.empty() ? noReply : outcome.reply.front();
}

/// The card number of a field; nothing for a field that is passed over.
std::optional<std::int16_t> cardOf(const std::string& field) {
  const std::u16string text = toUtf16(field);
  const std::u16string_view number = trim(text);
  if (number.empty() || number.size() > longestNumber) return std::nullopt;
  try {
    return toInteger(toNumber(number));
  } catch (const RunTimeError&) {
    return std::nullopt;
  }
}

/// Sends the block of a card list and adds up its bytes.
class Block {
 public:
  explicit Block(CommandExchange& exchange) : mExchange(exchange) {}

  void sendEdge() { mExchange.send(blockEdge); }

  /// Both bytes or none: a list that is ended stops between two cards.
  void sendCard(std::int16_t card) {
    mExchange.sendWhole({packedBcd(card / 100), packedBcd(card % 100)});
    mSum += bcdByte(card / 100);
    mSum += bcdByte(card % 100);
  }

  void sendSum() {
    for (const int shift : {24, 16, 8, 0}) mExchange.send(static_cast<int>(mSum >> shift & 0xFF));
  }

 private:
  CommandExchange& mExchange;
  std::uint32_t mSum = 0;
};

/// One pass over the file.
void eachCard(DeviceLinks& links, const std::u16string& fileName,
              const std::function<void(std::int16_t)>& use) {
  DelimitedInput input(toPath(fileName));
  std::string field;
  while (true) {
    if (links.ended()) return;
    links.platform.messagePump().DoEvents();
    if (!input.next(field)) return;
    if (const auto card = cardOf(field)) use(*card);
  }
}

}  // namespace

std::uint8_t CardList::AddCardSimple(const std::u16string& sRemoteHost,
                                     const std::u16string& CardNum) {
  return sendCard(42, sRemoteHost, CardNum);
}

std::uint8_t CardList::DeleteCardSimple(const std::u16string& sRemoteHost,
                                        const std::u16string& CardNum) {
  return sendCard(41, sRemoteHost, CardNum);
}

std::uint8_t CardList::sendCard(int code, const std::u16string& sRemoteHost,
                                const std::u16string& CardNum) {
  CommandExchange exchange(mLinks, sRemoteHost, cardForm(code));
  return resultOf(exchange.run([&](CommandExchange& body) {
    const std::int32_t card = toLong(numericValue(CardNum));
    body.send(bcdByte(card / 100));
    body.send(bcdByte(card % 100));
  }));
}

std::uint8_t CardList::DeleteCardAll(const std::u16string& sRemoteHost) {
  CommandExchange exchange(mLinks, sRemoteHost, cardForm(40));
  return resultOf(exchange.run([](CommandExchange& body) { body.send('T', noPause); }));
}

std::uint8_t CardList::AddCardFile(const std::u16string& sRemoteHost,
                                   const std::u16string& mFileName) {
  CommandExchange exchange(mLinks, sRemoteHost, cardForm(43));
  return resultOf(exchange.run([&](CommandExchange& body) {
    body.settings("9600,s,8,1");
    std::int32_t count = 0;
    eachCard(mLinks, mFileName, [&](std::int16_t) { ++count; });
    mLinks.host.events.AddFileProgressInit(count);
    Block block(body);
    block.sendEdge();
    std::int32_t sent = 0;
    eachCard(mLinks, mFileName, [&](std::int16_t card) {
      mLinks.Sleep(50);
      if (mLinks.ended()) return;
      block.sendCard(card);
      std::int32_t progress = ++sent;  // what the host writes into it is discarded
      mLinks.host.events.AddFileProgressInc(progress);
    });
    block.sendEdge();
    block.sendSum();
    body.settings("600,s,8,1");
  }));
}

}  // namespace cronvel
