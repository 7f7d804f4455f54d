#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace cronvel::test {

/// What the record check has to make of a stream: told once more, without a look at its code.
struct RecordModel {
  std::string txt, ddd, dat;
  int records = 0, damaged = 0;
  int error = 0;  ///< 9 where it fails; the files hold what came before
  int result = 0;

  RecordModel(const std::string& stream, unsigned IdLen, bool DoCheck) {
    for (const char character : stream) {
      const auto byte = static_cast<std::uint8_t>(character);
      if (mMode != 'T' && mark(byte)) continue;
      if (mHeld.size() == 21) {
        error = 9;
        return;
      }
      mHeld += byte;
      if (mMode == 'T' && mHeld.size() == 11) mBad = isBadTrailer(DoCheck);
      if (mMode == 'D' && mHeld.size() == 3) endDate();
      if (mMode == 'C' && mHeld.size() == IdLen / 2 + 2) endCard();
    }
    result = mMode == 'T' && !mBad ? -1 : 0;
  }

 private:
  bool mark(std::uint8_t byte) {
    const std::string types = "ED CC EC EB E2 CA E4 E5 E6 E7 E8 E9 A1 A2 A3 A4 A5 A6 A7 A8";
    const std::string code = {"0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
    const bool isType = types.find(code) != std::string::npos;
    if (isType) mType = code;
    if (isType || code == "EF")
      mMode = 'C';
    else if (code == "BB" || code == "EE")
      mMode = 'D';
    else if (code == "E3")
      mMode = 'T';
    else
      return false;
    mHeld.clear();
    return true;
  }

  /// Two digits; `bad` counts up for a byte that is damaged.
  static std::string digits(std::uint8_t byte, int& bad) {
    const char text[] = {"0123456789??????"[byte >> 4], "0123456789??????"[byte & 15]};
    bad += byte >> 4 > 9 || (byte & 15) > 9 ? 1 : 0;
    return {text, 2};
  }

  void endDate() {
    const std::string day = digits(mHeld[0], damaged), month = digits(mHeld[1], damaged),
                      year = digits(mHeld[2], damaged);
    mDate = day + month + year;
    ddd += '"' + mDate + "\"\r\n";
    if (dat.find("0ed") == std::string::npos) dat += "\t0ed\r\n";
    dat += "bb\t" + day + "\t" + month + "\t" + year + "\r\n";
    startCard();
  }

  void endCard() {
    int bad = 0;
    std::string all;
    for (const std::uint8_t byte : mHeld) all += digits(byte, bad);
    damaged += bad > 0 ? 1 : 0;
    const std::string card = all.substr(0, all.size() - 4), time = all.substr(all.size() - 4);
    txt += '"' + card + "\",\"" + time + "\",\"" + mDate + "\",\"" + mType + "\"\r\n";
    if (mType != "ED")
      dat += std::string{static_cast<char>(mType[0] | 32), static_cast<char>(mType[1] | 32)} +
             "\t\r\n";
    dat += card + "\t" + time + "\t\r\n";
    ++records;
    startCard();
  }

  void startCard() {
    mMode = 'C';
    mType = "ED";
    mHeld.clear();
  }

  bool isBadTrailer(bool DoCheck) const {
    const auto number = [&](std::size_t i, int weight) { return mHeld[i] * weight + mHeld[i + 1]; };
    const int start = number(0, 256) + mHeld[2] * 32767;
    int end = number(3, 256) + mHeld[5] * 32767;
    if (end < start) end += 65535;
    const bool far = std::abs(number(6, 256) - (end - start)) > 10;
    return mHeld[10] != 0xE3 || (DoCheck && far);
  }

  std::basic_string<std::uint8_t> mHeld;
  char mMode = '0';
  std::string mType = "00";
  std::string mDate = "??????";
  bool mBad = false;
};

}  // namespace cronvel::test
