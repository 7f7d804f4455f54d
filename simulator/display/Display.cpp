#include "simulator/display/Display.h"

#include <algorithm>
#include <array>
#include <vector>

namespace cronvel::simulator {

namespace {

constexpr std::uint8_t firstDigit = 128;
constexpr std::uint8_t lastDigit = 137;

/// A glyph of the font: what it says, and its own form.
struct Glyph {
  std::string_view text = "\uFFFD";
  std::string_view form = "\uFFFD";
};

/// The terminal's font, the 8-bit Persian display set: ASCII below 128, the rest as follows.
/// Letters with two glyphs have "isolated or final" before "initial or medial".
constexpr std::array<Glyph, 128> makeUpperGlyphs() {
  std::array<Glyph, 128> glyphs{};
  struct Row {
    std::uint8_t code;
    Glyph glyph;
  };
  constexpr Row rows[] = {{128, {"0", "0"}},       {129, {"1", "1"}},      {130, {"2", "2"}},
                          {131, {"3", "3"}},       {132, {"4", "4"}},      {133, {"5", "5"}},
                          {134, {"6", "6"}},       {135, {"7", "7"}},      {136, {"8", "8"}},
                          {137, {"9", "9"}},       {139, {"ـ", "ـ"}},      {141, {"آ", "\uFE81"}},
                          {142, {"ئ", "\uFE89"}},  {144, {"ا", "\uFE8D"}}, {145, {"ا", "\uFE8E"}},
                          {146, {"ب", "\uFE8F"}},  {147, {"ب", "\uFE91"}}, {148, {"پ", "\uFB56"}},
                          {149, {"پ", "\uFB58"}},  {150, {"ت", "\uFE95"}}, {151, {"ت", "\uFE97"}},
                          {152, {"ث", "\uFE99"}},  {153, {"ث", "\uFE9B"}}, {154, {"ج", "\uFE9D"}},
                          {155, {"ج", "\uFE9F"}},  {156, {"چ", "\uFB7A"}}, {157, {"چ", "\uFB7C"}},
                          {158, {"ح", "\uFEA1"}},  {159, {"ح", "\uFEA3"}}, {160, {"خ", "\uFEA5"}},
                          {161, {"خ", "\uFEA7"}},  {162, {"د", "\uFEA9"}}, {163, {"ذ", "\uFEAB"}},
                          {164, {"ر", "\uFEAD"}},  {165, {"ز", "\uFEAF"}}, {166, {"ژ", "\uFB8A"}},
                          {167, {"س", "\uFEB1"}},  {168, {"س", "\uFEB3"}}, {169, {"ش", "\uFEB5"}},
                          {170, {"ش", "\uFEB7"}},  {171, {"ص", "\uFEB9"}}, {172, {"ص", "\uFEBB"}},
                          {173, {"ض", "\uFEBD"}},  {174, {"ض", "\uFEBF"}}, {175, {"ط", "\uFEC1"}},
                          {224, {"ظ", "\uFEC5"}},  {225, {"ع", "\uFEC9"}}, {226, {"ع", "\uFECA"}},
                          {227, {"ع", "\uFECC"}},  {228, {"ع", "\uFECB"}}, {229, {"غ", "\uFECD"}},
                          {230, {"غ", "\uFECE"}},  {231, {"غ", "\uFED0"}}, {232, {"غ", "\uFECF"}},
                          {233, {"ف", "\uFED1"}},  {234, {"ف", "\uFED3"}}, {235, {"ق", "\uFED5"}},
                          {236, {"ق", "\uFED7"}},  {237, {"ك", "\uFED9"}}, {238, {"ك", "\uFEDB"}},
                          {239, {"گ", "\uFB92"}},  {240, {"گ", "\uFB94"}}, {241, {"ل", "\uFEDD"}},
                          {242, {"لا", "\uFEFB"}}, {243, {"ل", "\uFEDF"}}, {244, {"م", "\uFEE1"}},
                          {245, {"م", "\uFEE3"}},  {246, {"ن", "\uFEE5"}}, {247, {"ن", "\uFEE7"}},
                          {248, {"و", "\uFEED"}},  {249, {"ه", "\uFEE9"}}, {250, {"ه", "\uFEEC"}},
                          {251, {"ه", "\uFEEB"}},  {252, {"ي", "\uFEF2"}}, {253, {"ي", "\uFEF1"}},
                          {254, {"ي", "\uFEF3"}}};
  for (const Row& row : rows) glyphs[row.code - 128U] = row.glyph;
  return glyphs;
}

constexpr std::array<Glyph, 128> upperGlyphs = makeUpperGlyphs();

std::string drawn(std::uint8_t code, std::string_view Glyph::*side) {
  if (code >= 128) return std::string(upperGlyphs[code - 128U].*side);
  if (code < ' ' || code == 127) return "\uFFFD";
  return std::string(1, static_cast<char>(code));
}

bool isDigit(std::uint8_t code) { return code >= firstDigit && code <= lastDigit; }

std::string readFromTheRight(Payload codes, std::string_view Glyph::*side) {
  while (!codes.empty() && codes.back() == ' ') codes = codes.first(codes.size() - 1);
  std::vector<std::uint8_t> order(codes.rbegin(), codes.rend());
  for (auto run = order.begin(); run != order.end();) {
    const auto start = std::find_if(run, order.end(), isDigit);
    run = std::find_if_not(start, order.end(), isDigit);
    std::reverse(start, run);
  }
  std::string text;
  for (const std::uint8_t code : order) text += drawn(code, side);
  return text;
}

}  // namespace

std::string displayedText(Payload codes) { return readFromTheRight(codes, &Glyph::text); }

std::string displayedForms(Payload codes) { return readFromTheRight(codes, &Glyph::form); }

}  // namespace cronvel::simulator
