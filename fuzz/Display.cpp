// Texts of the code page and of today's keyboards, against what a display has to get.

#include <iconv.h>

#include <array>
#include <map>
#include <sstream>

#include "fuzz/Harness.h"
#include "protocol/ConvertModule.h"

namespace cronvel::fuzz {
namespace {

/// The code page as the C library has it.
std::array<char16_t, 256> codePage() {
  std::array<char16_t, 256> page{};
  const iconv_t conversion = iconv_open("UTF-16LE", "CP1256");
  for (std::size_t i = 0; i < page.size(); ++i) {
    char byte = static_cast<char>(i);
    char *in = &byte, *out = reinterpret_cast<char*>(&page[i]);
    std::size_t inSize = 1, outSize = 2;
    if (iconv(conversion, &in, &inSize, &out, &outSize) != 0) std::abort();
  }
  iconv_close(conversion);
  return page;
}

struct Letter {
  int isolated, final, medial, initial;
};

/// The letters that join on both sides.
const std::map<char16_t, Letter>& joining() {
  static const auto letters = [] {
    std::map<char16_t, Letter> all{{u'ع', {225, 226, 227, 228}}, {u'غ', {229, 230, 231, 232}},
                                   {u'ل', {241, 241, 243, 243}}, {u'ه', {249, 249, 250, 251}},
                                   {u'ى', {253, 252, 254, 254}}, {u'ي', {253, 252, 254, 254}}};
    const std::pair<std::u16string, int> rows[] = {
        {u"بپتثجچحخ", 146}, {u"سشصض", 167}, {u"فقكگ", 233}, {u"من", 244}};
    for (auto [row, code] : rows)
      for (const char16_t letter : row) {
        all[letter] = {code, code, code + 1, code + 1};
        code += 2;
      }
    return all;
  }();
  return letters;
}

class Model {
 public:
  explicit Model(const std::u16string& text) {
    for (const char16_t c : text) mText += folded(c);
    std::string digits;
    bool inDigits = false;
    for (std::size_t i = 0; i < mText.size(); ++i) {
      const bool isDigit = mText[i] >= u'0' && mText[i] <= u'9';
      if (isDigit) digits += static_cast<char>(mText[i] - u'0' + 128);
      if (inDigits != isDigit && inDigits) row = digits + row;
      if (isDigit && i + 1 == mText.size()) row = digits + row;
      if (!isDigit && !inDigits) place(i);
      inDigits = isDigit;
    }
  }
  std::string row;

 private:
  static char16_t folded(char16_t c) {
    if (c >= 0x660 && c <= 0x669) return static_cast<char16_t>(c - 0x660 + u'0');
    if (c >= 0x6F0 && c <= 0x6F9) return static_cast<char16_t>(c - 0x6F0 + u'0');
    return c == 0x6CC ? u'ي' : c == 0x6A9 ? u'ك' : c == 0x200C ? u' ' : c;
  }

  void place(std::size_t i) {
    const char16_t c = mText[i], before = i > 0 ? mText[i - 1] : u' ';
    const bool joins = joining().contains(before);
    const bool goesOn = i + 1 < mText.size() && mText[i + 1] != u' ';
    const bool ligature = c == u'ا' && before == u'ل';
    if (ligature) row.erase(0, row.size() < 2 ? 0 : row.size() - 2);
    row.insert(row.begin(), static_cast<char>(ligature ? 242 : glyph(c, joins, goesOn)));
  }

  static int glyph(char16_t c, bool joins, bool goesOn) {
    if (const auto found = joining().find(c); found != joining().end()) {
      const Letter& forms = found->second;
      if (joins) return goesOn ? forms.medial : forms.final;
      return goesOn ? forms.initial : forms.isolated;
    }
    if (c == u'ا') return joins ? 145 : 144;
    const std::u16string single = u"ئـآدذرزژطظو";
    constexpr int glyphs[] = {142, 139, 141, 162, 163, 164, 165, 166, 175, 224, 248};
    if (const auto at = single.find(c); at != std::u16string::npos) return glyphs[at];
    static const auto page = codePage();
    const auto code = std::ranges::find(page, c);
    return code == page.end() ? '?' : static_cast<int>(code - page.begin());
  }

  std::u16string mText;
};

}  // namespace
}  // namespace cronvel::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cronvel::fuzz;
  static const auto page = codePage();
  // In place of control characters, what today's keyboards add, and what no terminal has.
  constexpr std::u16string_view others = u"\u06CC٠١٢٣٤٥٦٧٨\n۰۱۲۳۴۵۶۷۸۹٩\u0080\uFFFF中";
  std::istringstream lines(Input(data, size).rest());
  for (std::string line; std::getline(lines, line);) {
    std::u16string text;
    for (const char c : line) {
      const auto byte = static_cast<std::uint8_t>(c);
      text += byte < others.size() ? others[byte] : page[byte];
    }
    const cronvel::Bytes row = cronvel::convertText(text);
    require(std::string(row.begin(), row.end()), Model(text).row, "row");
  }
  return 0;
}
