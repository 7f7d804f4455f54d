#include "simulator/display/Display.h"

#include <algorithm>
#include <array>
#include <vector>

#include "runtime/Text.h"

namespace cronvel::simulator {

namespace {

constexpr std::uint8_t firstDigit = 128;
constexpr std::uint8_t lastDigit = 137;

/// A glyph of the font: what it says, and its own form.
struct Glyph {
  std::u16string_view text = u"\xFFFD";
  std::u16string_view form = u"\xFFFD";
};

/// The terminal's font, the 8-bit Persian display set: ASCII below 128, the rest as follows.
/// Letters with two glyphs have "isolated or final" before "initial or medial".
constexpr std::array<Glyph, 128> makeUpperGlyphs() {
  std::array<Glyph, 128> glyphs{};
  struct Row {
    std::uint8_t code;
    Glyph glyph;
  };
  constexpr Row rows[] = {
      {128, {u"0", u"0"}},       {129, {u"1", u"1"}},      {130, {u"2", u"2"}},
      {131, {u"3", u"3"}},       {132, {u"4", u"4"}},      {133, {u"5", u"5"}},
      {134, {u"6", u"6"}},       {135, {u"7", u"7"}},      {136, {u"8", u"8"}},
      {137, {u"9", u"9"}},       {139, {u"ـ", u"ـ"}},      {141, {u"آ", u"\xFE81"}},
      {142, {u"ئ", u"\xFE89"}},  {144, {u"ا", u"\xFE8D"}}, {145, {u"ا", u"\xFE8E"}},
      {146, {u"ب", u"\xFE8F"}},  {147, {u"ب", u"\xFE91"}}, {148, {u"پ", u"\xFB56"}},
      {149, {u"پ", u"\xFB58"}},  {150, {u"ت", u"\xFE95"}}, {151, {u"ت", u"\xFE97"}},
      {152, {u"ث", u"\xFE99"}},  {153, {u"ث", u"\xFE9B"}}, {154, {u"ج", u"\xFE9D"}},
      {155, {u"ج", u"\xFE9F"}},  {156, {u"چ", u"\xFB7A"}}, {157, {u"چ", u"\xFB7C"}},
      {158, {u"ح", u"\xFEA1"}},  {159, {u"ح", u"\xFEA3"}}, {160, {u"خ", u"\xFEA5"}},
      {161, {u"خ", u"\xFEA7"}},  {162, {u"د", u"\xFEA9"}}, {163, {u"ذ", u"\xFEAB"}},
      {164, {u"ر", u"\xFEAD"}},  {165, {u"ز", u"\xFEAF"}}, {166, {u"ژ", u"\xFB8A"}},
      {167, {u"س", u"\xFEB1"}},  {168, {u"س", u"\xFEB3"}}, {169, {u"ش", u"\xFEB5"}},
      {170, {u"ش", u"\xFEB7"}},  {171, {u"ص", u"\xFEB9"}}, {172, {u"ص", u"\xFEBB"}},
      {173, {u"ض", u"\xFEBD"}},  {174, {u"ض", u"\xFEBF"}}, {175, {u"ط", u"\xFEC1"}},
      {224, {u"ظ", u"\xFEC5"}},  {225, {u"ع", u"\xFEC9"}}, {226, {u"ع", u"\xFECA"}},
      {227, {u"ع", u"\xFECC"}},  {228, {u"ع", u"\xFECB"}}, {229, {u"غ", u"\xFECD"}},
      {230, {u"غ", u"\xFECE"}},  {231, {u"غ", u"\xFED0"}}, {232, {u"غ", u"\xFECF"}},
      {233, {u"ف", u"\xFED1"}},  {234, {u"ف", u"\xFED3"}}, {235, {u"ق", u"\xFED5"}},
      {236, {u"ق", u"\xFED7"}},  {237, {u"ك", u"\xFED9"}}, {238, {u"ك", u"\xFEDB"}},
      {239, {u"گ", u"\xFB92"}},  {240, {u"گ", u"\xFB94"}}, {241, {u"ل", u"\xFEDD"}},
      {242, {u"لا", u"\xFEFB"}}, {243, {u"ل", u"\xFEDF"}}, {244, {u"م", u"\xFEE1"}},
      {245, {u"م", u"\xFEE3"}},  {246, {u"ن", u"\xFEE5"}}, {247, {u"ن", u"\xFEE7"}},
      {248, {u"و", u"\xFEED"}},  {249, {u"ه", u"\xFEE9"}}, {250, {u"ه", u"\xFEEC"}},
      {251, {u"ه", u"\xFEEB"}},  {252, {u"ي", u"\xFEF2"}}, {253, {u"ي", u"\xFEF1"}},
      {254, {u"ي", u"\xFEF3"}}};
  for (const Row& row : rows) glyphs[row.code - 128U] = row.glyph;
  return glyphs;
}

constexpr std::array<Glyph, 128> upperGlyphs = makeUpperGlyphs();

std::u16string drawn(std::uint8_t code, std::u16string_view Glyph::*side) {
  if (code >= 128) return std::u16string(upperGlyphs[code - 128U].*side);
  if (code < ' ' || code == 127) return u"\xFFFD";
  return std::u16string(1, static_cast<char16_t>(code));
}

bool isDigit(std::uint8_t code) { return code >= firstDigit && code <= lastDigit; }

std::string readFromTheRight(Payload codes, std::u16string_view Glyph::*side) {
  while (!codes.empty() && codes.back() == ' ') codes = codes.first(codes.size() - 1);
  std::vector<std::uint8_t> order(codes.rbegin(), codes.rend());
  for (auto run = order.begin(); run != order.end();) {
    const auto start = std::find_if(run, order.end(), isDigit);
    run = std::find_if_not(start, order.end(), isDigit);
    std::reverse(start, run);
  }
  std::u16string text;
  for (const std::uint8_t code : order) text += drawn(code, side);
  return toUtf8(text);
}

}  // namespace

std::string displayedText(Payload codes) { return readFromTheRight(codes, &Glyph::text); }

std::string displayedForms(Payload codes) { return readFromTheRight(codes, &Glyph::form); }

}  // namespace cronvel::simulator
