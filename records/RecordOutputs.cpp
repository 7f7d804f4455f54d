#include "records/RecordOutputs.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "records/RecordDigits.h"

namespace cronvel {
namespace {

/// The line that each card of a record gets, put together once: only the digits differ.
class CardLine {
 public:
  explicit CardLine(const Record& record) : mRecord(record) {}

  CardLine& text(std::string_view text) {
    mEnd += text.copy(&mText[mEnd], text.size());
    return *this;
  }
  CardLine& card() { return digits(mCard, 2 * (mRecord.cardSize - 2)); }
  CardLine& time() { return digits(mTime, 4); }

  void print(TextOutput& file) const;

 private:
  /// Holds the line of the longest card number that a stream can have, 38 digits.
  using Text = std::array<char, 64>;

  CardLine& digits(std::size_t& at, std::size_t count) {
    at = std::exchange(mEnd, mEnd + count);
    return *this;
  }
  void write(char* out, std::span<const std::uint8_t> cards) const;

  const Record& mRecord;
  Text mText{};
  std::size_t mCard = 0;
  std::size_t mTime = 0;
  std::size_t mEnd = 0;
};

void CardLine::print(TextOutput& file) const {
  for (auto cards = mRecord.cards; !cards.empty();) {
    const std::span<char> room = file.room(mText.size());
    const std::size_t lines = (room.size() - mText.size()) / mEnd + 1;
    const auto now = cards.first(std::min(lines * mRecord.cardSize, cards.size()));
    write(room.data(), now);
    file.advance(now.size() / mRecord.cardSize * mEnd);
    cards = cards.subspan(now.size());
  }
}

/// Eight at a time is twice as quick.
void writeDigits(char* out, const std::uint8_t* bytes, std::size_t left) {
  for (; left >= 4; left -= 4, bytes += 4, out += 8) {
    const std::uint64_t digits = fourDigits(bytes) | std::uint64_t{fourDigits(bytes + 2)} << 32;
    std::memcpy(out, &digits, sizeof digits);
  }
  for (; left > 0; --left, ++bytes, out += 2) std::memcpy(out, &digitPairs[*bytes], 2);
}

/// A copy of fixed size is quicker than one of the line's; the next line goes over what is too
/// much of it.
void CardLine::write(char* out, std::span<const std::uint8_t> cards) const {
  const Text text = mText;
  const std::size_t numberSize = mRecord.cardSize - 2;
  char* number = out + mCard;
  char* time = out + mTime;
  const std::size_t length = mEnd;
  const std::uint8_t* card = cards.data();
  for (std::size_t left = cards.size(); left > 0; left -= numberSize + 2) {
    std::memcpy(out, text.data(), text.size());
    writeDigits(number, card, numberSize);
    card += numberSize;
    const std::uint32_t digits = fourDigits(card);
    std::memcpy(time, &digits, sizeof digits);
    card += 2;
    out += length;
    number += length;
    time += length;
  }
}

void quotedCards(TextOutput& file, const Record& record) {
  CardLine line(record);
  line.text("\"").card().text("\",\"").time().text("\",\"").text(record.date).text("\",\"");
  line.text(record.type).text("\"\r\n").print(file);
}

void quotedDate(TextOutput& file, const Record& record) { file.printLine("\"", record.date, "\""); }

void tabbedDate(TextOutput& file, const Record& record) {
  const std::string_view date = record.date;
  if (record.firstDate) file.printLine("\t0ed");
  file.printLine("bb\t", date.substr(0, 2), "\t", date.substr(2, 2), "\t", date.substr(4));
}

std::string lowerCase(std::string_view type) {
  std::string out(type);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

void tabbedCards(TextOutput& file, const Record& record) {
  if (record.type != "ED") file.printLine(lowerCase(record.type), "\t");
  CardLine(record).card().text("\t").time().text("\t\r\n").print(file);
}

}  // namespace

std::span<const RecordOutput> recordOutputs() {
  static constexpr RecordOutput outputs[] = {
      {u".txt", nullptr, quotedCards},
      {u".ddd", quotedDate, nullptr},
      {u".dat", tabbedDate, tabbedCards},
  };
  return outputs;
}

RecordOutputs::RecordOutputs(const std::u16string& rawFile) {
  for (const RecordOutput& output : recordOutputs()) {
    const auto path = toPath(withExtension(rawFile, output.extension));
    TextOutput* file = mFiles.emplace_back(std::make_unique<TextOutput>(path)).get();
    if (output.date != nullptr) mOfDates.push_back({file, output.date});
    if (output.cards != nullptr) mOfCards.push_back({file, output.cards});
  }
}

void RecordOutputs::date(const Record& record) {
  for (const Target& target : mOfDates) target.print(*target.file, record);
}

void RecordOutputs::cards(const Record& record) {
  for (const Target& target : mOfCards) target.print(*target.file, record);
}

void RecordOutputs::close() {
  for (const auto& file : mFiles) file->close();
}

}  // namespace cronvel
