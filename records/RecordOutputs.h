#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "records/RecordStream.h"
#include "runtime/TextOutput.h"

namespace cronvel {

/// A file that the check writes beside the raw one, under the same base name.
struct RecordOutput {
  std::u16string_view extension;
  /// What a record adds to it; null for nothing.
  using Line = void (*)(TextOutput& file, const Record& record);
  Line date;
  Line cards;
};

/// All of them:
///
/// - ".txt": card, time, date and type of each card record, quoted, comma-separated
/// - ".ddd": each date, quoted
/// - ".dat": tab-separated lines: "0ed" once before the first date, "bb" and the date's parts, a
///   type other than "ed" alone, card and time
std::span<const RecordOutput> recordOutputs();

/// The files of one check, being written.
class RecordOutputs : public RecordSink {
 public:
  /// Raises the errors of opening files.
  explicit RecordOutputs(const std::u16string& rawFile);

  void date(const Record& record) override;
  void cards(const Record& record) override;
  /// Raises what a delayed write had to say.
  void close();

 private:
  struct Target {
    TextOutput* file;
    RecordOutput::Line print;
  };

  std::vector<std::unique_ptr<TextOutput>> mFiles;
  std::vector<Target> mOfDates;
  std::vector<Target> mOfCards;
};

}  // namespace cronvel
