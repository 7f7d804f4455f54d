#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cronvel {

/// A card record as people read it. Damaged digits are "?".
struct CardRecord {
  std::string card;
  std::string date;  ///< DD/MM/YY
  std::string time;  ///< HH:MM
  std::string type;

  bool operator==(const CardRecord&) const = default;
};

/// Reads a line of the checked file (card, time, date and type, quoted); empty for any other text.
std::optional<CardRecord> parseRecord(std::string_view line);

enum class TableFormat { table, csv, json };

/// Writes records one after another in one of the formats.
class RecordTable {
 public:
  RecordTable(std::ostream& out, TableFormat format) : mOut(out), mFormat(format) {}

  void add(const CardRecord& record);
  /// After the last record.
  void end();

 private:
  void begin(const CardRecord* first);

  std::ostream& mOut;
  TableFormat mFormat;
  bool mBegun = false;
  std::size_t mCardWidth = 0;
};

}  // namespace cronvel
