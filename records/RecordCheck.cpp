#include "records/RecordCheck.h"

#include <array>
#include <cstdlib>
#include <span>
#include <string_view>
#include <vector>

#include "runtime/File.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::uint8_t trailerMarker = 0xE3;
constexpr std::size_t trailerSize = 11;
constexpr std::size_t dateSize = 3;
constexpr std::size_t timeSize = 2;
constexpr int countTolerance = 10;
constexpr std::size_t readBlock = 256 * 1024;

enum class Mode : std::uint8_t { none, card, date, trailer };

/// What a marker byte does: the record kind that follows, and the type code that the next card
/// record gets (empty: keeps the pending one).
struct Marker {
  Mode mode = Mode::none;  ///< none: not a marker
  std::string_view type;
};

/// The terminal's marker bytes.
constexpr std::array<Marker, 256> makeMarkers() {
  std::array<Marker, 256> markers{};
  struct Typed {
    std::size_t byte;
    std::string_view type;
  };
  constexpr Typed typed[] = {{0xED, "ED"}, {0xCC, "CC"}, {0xEC, "EC"}, {0xEB, "EB"}, {0xE2, "E2"},
                             {0xCA, "CA"}, {0xE4, "E4"}, {0xE5, "E5"}, {0xE6, "E6"}, {0xE7, "E7"},
                             {0xE8, "E8"}, {0xE9, "E9"}, {0xA1, "A1"}, {0xA2, "A2"}, {0xA3, "A3"},
                             {0xA4, "A4"}, {0xA5, "A5"}, {0xA6, "A6"}, {0xA7, "A7"}, {0xA8, "A8"}};
  for (const auto& [byte, type] : typed) markers[byte] = {Mode::card, type};
  markers[0xEF] = {Mode::card, {}};
  markers[0xBB] = markers[0xEE] = {Mode::date, {}};
  markers[trailerMarker] = {Mode::trailer, {}};
  return markers;
}

constexpr std::array<Marker, 256> markers = makeMarkers();
constexpr std::string_view ordinaryType = "ED";

bool isDamaged(std::uint8_t byte) { return (byte >> 4) > 9 || (byte & 0xF) > 9; }

char digit(int nibble) { return nibble > 9 ? '?' : static_cast<char>('0' + nibble); }

void appendDigits(std::string& text, std::span<const std::uint8_t> bytes) {
  for (const std::uint8_t byte : bytes) {
    text.push_back(digit(byte >> 4));
    text.push_back(digit(byte & 0xF));
  }
}

/// A type code or a card's digits in lower case.
std::string lowerCase(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

class RecordCheck {
 public:
  RecordCheck(const std::u16string& mFileName, bool DoCheck, RecordCounters& counters)
      : mInput(openInput(mFileName)),
        mTxt(toPath(withExtension(mFileName, u".txt"))),
        mDdd(toPath(withExtension(mFileName, u".ddd"))),
        mDat(toPath(withExtension(mFileName, u".dat"))),
        mDoCheck(DoCheck),
        mCounters(counters),
        mCardBytes(counters.IdLen / 2U) {}

  bool run() {
    std::vector<std::uint8_t> block(readBlock);
    while (const std::size_t count = mInput.read(block))
      for (const std::uint8_t byte : std::span(block).first(count)) take(byte);
    mCounters.NumOfRecs = mRecords;
    mTxt.close();
    mDdd.close();
    mDat.close();
    return mMode == Mode::trailer && !mDamaged;
  }

 private:
  /// Opening the file that is being read for output would empty it.
  static File openInput(const std::u16string& mFileName) {
    const std::filesystem::path input = toPath(mFileName);
    for (const auto* extension : {u".txt", u".ddd", u".dat"}) {
      const std::filesystem::path output = toPath(withExtension(mFileName, extension));
      std::error_code notThere;
      if (std::filesystem::equivalent(input, output, notThere))
        throw RunTimeError(ErrorNumber::fileAlreadyOpen,
                           pathText(input) +
                               " would be overwritten by the check's own output; give the raw "
                               "file the extension .Hex");
    }
    return File(input, File::Access::read);
  }

  void take(std::uint8_t byte) {
    if (mMode == Mode::trailer) {
      collect(byte);
      if (mCollected >= trailerSize) judgeTrailer();
    } else if (markers[byte].mode != Mode::none) {
      startRecord(markers[byte]);
    } else {
      collect(byte);
      if (mMode == Mode::date && mCollected == dateSize) writeDate();
      if (mMode == Mode::card && mCollected == mCardBytes + timeSize) writeCard();
    }
  }

  void startRecord(const Marker& marker) {
    mMode = marker.mode;
    if (!marker.type.empty()) mType = marker.type;
    mCollected = 0;
  }

  void collect(std::uint8_t byte) {
    if (mCollected == mBuffer.size())
      throw RunTimeError(ErrorNumber::subscriptOutOfRange,
                         "more than " + std::to_string(mBuffer.size()) +
                             " bytes that belong to no record; this is not a terminal's record "
                             "file, or the identifier length is wrong");
    mBuffer[mCollected++] = byte;
  }

  /// Seen again with every byte that follows; the first 11 decide.
  void judgeTrailer() {
    if (mBuffer[trailerSize - 1] != trailerMarker) {
      mDamaged = true;
      return;
    }
    const int start = position(0);
    int end = position(3);
    if (end < start) end += 65535;  // the record memory is a ring
    const int count = mBuffer[6] * 256 + mBuffer[7];
    if (mDoCheck && std::abs(count - (end - start)) > countTolerance) mDamaged = true;
  }

  /// The terminal's own convention: the third byte counts 32767, not 65536.
  int position(std::size_t offset) const {
    return mBuffer[offset] * 256 + mBuffer[offset + 1] + mBuffer[offset + 2] * 32767;
  }

  void writeDate() {
    mDate.clear();
    appendDigits(mDate, collected());
    for (const std::uint8_t byte : collected()) mCounters.DamagedRecs += isDamaged(byte) ? 1 : 0;
    mDdd.writeQuoted({mDate});
    if (!mDateSeen) mDat.printLine({"\t0ed"});
    mDateSeen = true;
    const std::string_view date = mDate;
    mDat.printLine({"bb\t", date.substr(0, 2), "\t", date.substr(2, 2), "\t", date.substr(4, 2)});
    expectOrdinaryCard();
  }

  void writeCard() {
    mCard.clear();
    appendDigits(mCard, collected().first(mCardBytes));
    mTime.clear();
    appendDigits(mTime, collected().last(timeSize));
    bool damaged = false;
    for (const std::uint8_t byte : collected()) damaged = damaged || isDamaged(byte);
    mCounters.DamagedRecs += damaged ? 1 : 0;
    mTxt.writeQuoted({mCard, mTime, mDate, mType});
    if (mType != ordinaryType) mDat.printLine({lowerCase(mType), "\t"});
    mDat.printLine({mCard, "\t", mTime, "\t"});
    ++mRecords;
    expectOrdinaryCard();
  }

  void expectOrdinaryCard() {
    mMode = Mode::card;
    mType = ordinaryType;
    mCollected = 0;
  }

  std::span<const std::uint8_t> collected() const { return std::span(mBuffer).first(mCollected); }

  File mInput;
  TextOutput mTxt;
  TextOutput mDdd;
  TextOutput mDat;
  bool mDoCheck;
  RecordCounters& mCounters;
  std::size_t mCardBytes;

  std::array<std::uint8_t, 21> mBuffer{};
  std::size_t mCollected = 0;
  Mode mMode = Mode::none;
  std::string_view mType = "00";
  std::string mDate = "??????";
  std::string mCard;
  std::string mTime;
  bool mDamaged = false;  ///< only the trailer sets it for good
  bool mDateSeen = false;
  std::int32_t mRecords = 0;
};

}  // namespace

bool checkRecordFile(const std::u16string& mFileName, bool DoCheck, RecordCounters& counters) {
  counters.NumOfRecs = 0;
  counters.DamagedRecs = 0;
  return RecordCheck(mFileName, DoCheck, counters).run();
}

}  // namespace cronvel
