#include "records/RecordOutputs.h"

namespace cronvel {
namespace {

void nothing(TextOutput& /*file*/, const Record& /*record*/) {}

void quotedCard(TextOutput& file, const Record& record) {
  file.writeQuoted({record.card, record.time, record.date, record.type});
}

void quotedDate(TextOutput& file, const Record& record) { file.writeQuoted({record.date}); }

void tabbedDate(TextOutput& file, const Record& record) {
  if (record.firstDate) file.printLine({"\t0ed"});
  const std::string_view date = record.date;
  file.printLine({"bb\t", date.substr(0, 2), "\t", date.substr(2, 2), "\t", date.substr(4, 2)});
}

std::string lowerCase(std::string_view type) {
  std::string out(type);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

void tabbedCard(TextOutput& file, const Record& record) {
  if (record.type != "ED") file.printLine({lowerCase(record.type), "\t"});
  file.printLine({record.card, "\t", record.time, "\t"});
}

}  // namespace

std::span<const RecordOutput> recordOutputs() {
  static constexpr RecordOutput outputs[] = {
      {u".txt", nothing, quotedCard},
      {u".ddd", quotedDate, nothing},
      {u".dat", tabbedDate, tabbedCard},
  };
  return outputs;
}

RecordOutputs::RecordOutputs(const std::u16string& rawFile) {
  for (const RecordOutput& output : recordOutputs())
    mFiles.push_back(
        std::make_unique<TextOutput>(toPath(withExtension(rawFile, output.extension))));
}

void RecordOutputs::date(const Record& record) {
  for (std::size_t i = 0; i < mFiles.size(); ++i) recordOutputs()[i].date(*mFiles[i], record);
}

void RecordOutputs::card(const Record& record) {
  for (std::size_t i = 0; i < mFiles.size(); ++i) recordOutputs()[i].card(*mFiles[i], record);
}

void RecordOutputs::close() {
  for (const auto& file : mFiles) file->close();
}

}  // namespace cronvel
