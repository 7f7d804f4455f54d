#include "cli/StreamReport.h"

#include <cstdlib>

#include "runtime/File.h"

namespace cronvel {

namespace {

constexpr int slack = 10;
constexpr const char* advice = "; fetch again, and erase nothing in the terminal";

std::string numbered(std::int64_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string countsOf(const StreamJudgement& stream) {
  return numbered(stream.records(), "record") + ", " + std::to_string(stream.damaged()) +
         " damaged";
}

std::string inRecord(const StreamFault& fault) {
  return "in record " + std::to_string(fault.recordsBefore + 1);
}

std::string between(const StreamFault& fault) {
  if (fault.recordsBefore == 0) return "before record 1";
  return "between records " + std::to_string(fault.recordsBefore) + " and " +
         std::to_string(fault.recordsBefore + 1);
}

std::string after(const StreamFault& fault) {
  return fault.recordsBefore == 0 ? "before any record"
                                  : "after record " + std::to_string(fault.recordsBefore);
}

/// "at byte 57, in record 12: an impossible time"
std::string describe(const StreamFault& fault) {
  using Kind = StreamFault::Kind;
  const std::string place = "at byte " + std::to_string(fault.offset) + ", ";
  switch (fault.kind) {
    case Kind::leftOver:
      return place + between(fault) + ": bytes that complete no record";
    case Kind::digits:
      return place + inRecord(fault) + ": a damaged digit";
    case Kind::time:
      return place + inRecord(fault) + ": an impossible time";
    case Kind::date:
      return place + between(fault) + ": an impossible date";
    case Kind::foreign:
      return place + after(fault) + ": bytes that are no terminal's records";
    case Kind::breaksOff:
      return place + after(fault) + ": the stream breaks off";
    case Kind::badTrailer:
      return place + after(fault) + ": the end is damaged";
    case Kind::afterTrailer:
      return place + after(fault) + ": bytes follow the end";
  }
  return place;
}

std::string faultsOf(const StreamJudgement& stream) {
  const std::vector<StreamFault>& first = stream.firstFaults();
  std::string text;
  if (stream.faults() > 1)
    text = std::to_string(stream.faults()) + " places are wrong" +
           (stream.faults() > first.size() ? ", the first are " : ": ");
  std::string separator;
  for (const StreamFault& fault : first) {
    text += separator + describe(fault);
    separator = "; ";
  }
  return text;
}

}  // namespace

StreamReport::StreamReport(const StreamJudgement& stream, const std::filesystem::path& rawFile,
                           int idDigits, bool wholeMemory)
    : mCounts(countsOf(stream)), mUnreadable(stream.foreign()) {
  judge(stream, wholeMemory);
  if (!whole() || !mRemark.empty()) proposeDigits(rawFile, idDigits);
}

StreamReport StreamReport::of(const std::filesystem::path& rawFile, int idDigits,
                              bool wholeMemory) {
  StreamJudgement stream(static_cast<std::size_t>(idDigits) / 2);
  stream.read(rawFile);
  return {stream, rawFile, idDigits, wholeMemory};
}

void StreamReport::judge(const StreamJudgement& stream, bool wholeMemory) {
  const std::int32_t announced = stream.announced().value_or(stream.records());
  if (announced != stream.records())
    mRemark = numbered(stream.records(), "record") + " came, but the end of the stream counts " +
              std::to_string(announced);
  const bool tooFew = wholeMemory && std::abs(announced - stream.records()) > slack;
  if (stream.faults() == 0 && !tooFew) return;
  mProblem = "not whole: " + faultsOf(stream) +
             (stream.faults() == 0 || mRemark.empty() ? "" : "; ") + mRemark + advice;
  mRemark.clear();
}

void StreamReport::proposeDigits(const std::filesystem::path& rawFile, int idDigits) {
  const auto likelier = likelierIdDigits(rawFile, idDigits);
  if (!likelier) return;
  mUnreadable = true;
  mRemark.clear();
  mProblem = pathText(rawFile) + " makes no sense with " + std::to_string(idDigits) +
             " digits to a card number, but with " + std::to_string(*likelier) +
             "; use --id-digits " + std::to_string(*likelier);
}

}  // namespace cronvel
