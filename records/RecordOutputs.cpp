#include "records/RecordOutputs.h"

namespace cronvel {
namespace {

/// Parts of a record whose length is always the same.
template <std::size_t size>
std::span<const char, size> part(std::string_view text, std::size_t from = 0) {
  return std::span<const char, size>(text.substr(from, size));
}
auto timeOf(const Record& record) { return part<4>(record.time); }
auto dateOf(const Record& record) { return part<6>(record.date); }
auto typeOf(const Record& record) { return part<2>(record.type); }

void quotedCard(TextOutput& file, const Record& record) {
  file.printLine("\"", record.card, "\",\"", timeOf(record), "\",\"", dateOf(record), "\",\"",
                 typeOf(record), "\"");
}

void quotedDate(TextOutput& file, const Record& record) {
  file.printLine("\"", dateOf(record), "\"");
}

void tabbedDate(TextOutput& file, const Record& record) {
  if (record.firstDate) file.printLine("\t0ed");
  file.printLine("bb\t", part<2>(record.date), "\t", part<2>(record.date, 2), "\t",
                 part<2>(record.date, 4));
}

std::string lowerCase(std::string_view type) {
  std::string out(type);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

void tabbedCard(TextOutput& file, const Record& record) {
  if (record.type != "ED") file.printLine(lowerCase(record.type), "\t");
  file.printLine(record.card, "\t", timeOf(record), "\t");
}

}  // namespace

std::span<const RecordOutput> recordOutputs() {
  static constexpr RecordOutput outputs[] = {
      {u".txt", nullptr, quotedCard},
      {u".ddd", quotedDate, nullptr},
      {u".dat", tabbedDate, tabbedCard},
  };
  return outputs;
}

RecordOutputs::RecordOutputs(const std::u16string& rawFile) {
  for (const RecordOutput& output : recordOutputs()) {
    const auto path = toPath(withExtension(rawFile, output.extension));
    TextOutput* file = mFiles.emplace_back(std::make_unique<TextOutput>(path)).get();
    if (output.date != nullptr) mOfDates.push_back({file, output.date});
    if (output.card != nullptr) mOfCards.push_back({file, output.card});
  }
}

void RecordOutputs::date(const Record& record) {
  for (const Target& target : mOfDates) target.print(*target.file, record);
}

void RecordOutputs::card(const Record& record) {
  for (const Target& target : mOfCards) target.print(*target.file, record);
}

void RecordOutputs::close() {
  for (const auto& file : mFiles) file->close();
}

}  // namespace cronvel
