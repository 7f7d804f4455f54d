#include "cli/RecordTable.h"

#include <algorithm>
#include <iomanip>
#include <ostream>

namespace cronvel {

namespace {

/// The file holds digits and letters; what else garbage brings must not reach a person's terminal.
std::string printable(std::string_view text) {
  std::string clean(text);
  for (char& character : clean)
    if (character < ' ' || character > '~') character = '?';
  return clean;
}

std::optional<std::vector<std::string>> quotedFields(std::string_view line) {
  std::vector<std::string> fields;
  while (true) {
    if (line.empty() || line.front() != '"') return {};
    const std::size_t end = line.find('"', 1);
    if (end == std::string_view::npos) return {};
    fields.push_back(printable(line.substr(1, end - 1)));
    line.remove_prefix(end + 1);
    if (line.empty()) return fields;
    if (line.front() != ',') return {};
    line.remove_prefix(1);
  }
}

/// "311207" -> "31/12/07"
std::string separated(const std::string& digits, char separator) {
  std::string text;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && i % 2 == 0) text += separator;
    text += digits[i];
  }
  return text;
}

/// The text in double quotes; a quote or backslash in it gets `escape` before it.
std::string quoted(const std::string& text, std::string_view special, char escape) {
  std::string result = "\"";
  for (const char character : text) {
    if (special.find(character) != std::string_view::npos) result += escape;
    result += character;
  }
  return result + '"';
}

std::string csv(const std::string& text) { return quoted(text, "\"", '"'); }
std::string json(const std::string& text) { return quoted(text, "\"\\", '\\'); }

}  // namespace

std::optional<CardRecord> parseRecord(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  const auto fields = quotedFields(line);
  if (!fields || fields->size() != 4) return {};
  const std::string& time = (*fields)[1];
  const std::string& date = (*fields)[2];
  if (time.size() != 4 || date.size() != 6) return {};
  return CardRecord{(*fields)[0], separated(date, '/'), separated(time, ':'), (*fields)[3]};
}

void RecordTable::begin(const CardRecord* first) {
  mBegun = true;
  switch (mFormat) {
    case TableFormat::table:
      mCardWidth = std::max<std::size_t>(4, first ? first->card.size() : 0);
      mOut << std::left << std::setw(static_cast<int>(mCardWidth)) << "card"
           << "  date      time   type\n";
      break;
    case TableFormat::csv:
      mOut << "card,date,time,type\n";
      break;
    case TableFormat::json:
      mOut << '[';
      break;
  }
}

void RecordTable::add(const CardRecord& record) {
  const bool isFirst = !mBegun;
  if (isFirst) begin(&record);
  switch (mFormat) {
    case TableFormat::table:
      mOut << std::left << std::setw(static_cast<int>(mCardWidth)) << record.card << "  "
           << record.date << "  " << record.time << "  " << record.type << '\n';
      break;
    case TableFormat::csv:
      mOut << csv(record.card) << ',' << csv(record.date) << ',' << csv(record.time) << ','
           << csv(record.type) << '\n';
      break;
    case TableFormat::json:
      mOut << (isFirst ? "\n" : ",\n") << R"(  {"card": )" << json(record.card) << R"(, "date": )"
           << json(record.date) << R"(, "time": )" << json(record.time) << R"(, "type": )"
           << json(record.type) << '}';
      break;
  }
}

void RecordTable::end() {
  if (!mBegun) begin(nullptr);
  if (mFormat == TableFormat::json) mOut << "\n]\n";
}

}  // namespace cronvel
