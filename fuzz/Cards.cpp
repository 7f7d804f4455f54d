// A card file of any bytes: what goes to the terminal, and what the host is told.

#include <vector>

#include "fuzz/Harness.h"
#include "fuzz/NumberModel.h"
#include "tests/support/Commands.h"

namespace cronvel::fuzz {
namespace {

struct Progress : __Cronvel {
  std::string told;
  void AddFileProgressInit(std::int32_t& nMax) override {
    told = "of " + std::to_string(std::exchange(nMax, 99));  // a host may write there
  }
  void AddFileProgressInc(std::int32_t& nValue) override {
    told += " " + std::to_string(std::exchange(nValue, 99));
  }
};

std::vector<std::string> fieldsOf(std::string text) {
  const auto skipBlanks = [&] { text.erase(0, text.find_first_not_of(' ')); };
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  std::vector<std::string> fields;
  while (!text.empty()) {
    skipBlanks();
    const bool quoted = text.starts_with('"');
    const std::size_t end = quoted ? text.find('"', 1) : text.find_first_of(",\r\n");
    fields.push_back(text.substr(quoted, end - quoted));
    text.erase(0, quoted && end != std::string::npos ? end + 1 : end);
    if (quoted) skipBlanks();
    text.erase(0, text.starts_with("\r\n") ? 2 : text.find_first_of(",\r\n") == 0 ? 1 : 0);
  }
  return fields;
}

std::vector<int> cardsOf(const std::string& text) {
  std::vector<int> cards;
  for (std::string field : fieldsOf(text)) {
    field.erase(0, field.find_first_not_of(' '));
    field.erase(field.find_last_not_of(' ') + 1);
    if (field.empty() || field.size() > 4) continue;
    const auto number = numberOf(field);
    if (!number) continue;
    const double card = std::nearbyint(*number);
    if (card >= -32768 && card <= 32767) cards.push_back(static_cast<int>(card));
  }
  return cards;
}

/// What goes out for a list, up to the error that ends it.
struct Model {
  std::string body = "02 2B 9600,s,8,1 AA";  ///< as in the table of the commands
  std::string told;
  bool fails = false;
  unsigned sum = 0;

  void sendTwoDigits(int number) {
    const int byte = number / 10 * 16 + number % 10;
    fails = fails || byte < 0 || byte > 255;
    if (fails) return;
    body += test::hex(Bytes{static_cast<std::uint8_t>(byte)});
    sum += static_cast<unsigned>(byte);
  }
  explicit Model(const std::vector<int>& cards) : told("of " + std::to_string(cards.size())) {
    for (std::size_t i = 0; i < cards.size(); ++i) {
      body += " ~";
      sendTwoDigits(cards[i] / 100);
      sendTwoDigits(cards[i] % 100);
      if (fails) return;
      told += " " + std::to_string(i + 1);
    }
    body += " AA";
    for (const int shift : {24, 16, 8, 0})
      body += test::hex(Bytes{static_cast<std::uint8_t>(sum >> shift)});
    body += " 600,s,8,1 !";
  }
};

}  // namespace
}  // namespace cronvel::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cronvel;
  static auto& [platform, container, events, folder, control] = *new fuzz::Setup<fuzz::Progress>;
  platform.time.passLength = 1'000'000;
  if (platform.port->PortOpen()) platform.port->PortOpen(false);
  platform.transcript.take();
  const std::string text = fuzz::Input(data, size).rest();
  folder.write("cards.txt", text);
  const fuzz::Model model(fuzz::cardsOf(text));
  int reply = 255;
  fuzz::require(test::errorOf([&] { reply = control->AddCardFile({}, u"cards.txt"); }),
                model.fails ? 6 : 0, "error");
  fuzz::require(platform.transcript.take(), test::exchangeOf(model.body), "transcript");
  fuzz::require(events.told, model.told, "progress");
  fuzz::require(reply, 255, "reply");
  return 0;
}
