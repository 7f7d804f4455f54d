#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "records/StreamJudgement.h"

namespace cronvel {

/// What there is to say to a person about a raw file that was read.
class StreamReport {
 public:
  /// Of a whole memory there have to be as many records as its end says, but for a few. Raises the
  /// errors of `File`.
  StreamReport(const StreamJudgement& stream, const std::filesystem::path& rawFile, int idDigits,
               bool wholeMemory);
  /// Reads the file first.
  static StreamReport of(const std::filesystem::path& rawFile, int idDigits, bool wholeMemory);

  bool whole() const { return mProblem.empty(); }
  /// "1042 records, 0 damaged"
  const std::string& counts() const { return mCounts; }
  /// Why it is not whole and what to do; empty when it is.
  const std::string& problem() const { return mProblem; }
  /// What a whole one leaves to say; mostly nothing.
  const std::string& remark() const { return mRemark; }
  /// Whether what was read is no reading of the stream, not even a part of one.
  bool unreadable() const { return mUnreadable; }

 private:
  void judge(const StreamJudgement& stream, bool wholeMemory);
  void proposeDigits(const std::filesystem::path& rawFile, int idDigits);

  std::string mCounts;
  std::string mProblem;
  std::string mRemark;
  bool mUnreadable = false;
};

}  // namespace cronvel
