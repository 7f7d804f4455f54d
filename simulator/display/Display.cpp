#include "simulator/display/Display.h"

#include <array>
#include <string_view>
#include <vector>

#include "simulator/base/Text.h"
#include "simulator/display/Reading.h"

namespace cronvel::simulator {

namespace {

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
                          {137, {"9", "9"}},       {138, {"،", "،"}},      {139, {"ـ", "ـ"}},
                          {140, {"؟", "؟"}},       {141, {"آ", "\uFE81"}}, {142, {"ئ", "\uFE8B"}},
                          {143, {"ء", "ء"}},       {144, {"ا", "\uFE8D"}}, {145, {"ا", "\uFE8E"}},
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
                          {236, {"ق", "\uFED7"}},  {237, {"ک", "\uFB8E"}}, {238, {"ک", "\uFB90"}},
                          {239, {"گ", "\uFB92"}},  {240, {"گ", "\uFB94"}}, {241, {"ل", "\uFEDD"}},
                          {242, {"لا", "\uFEFB"}}, {243, {"ل", "\uFEDF"}}, {244, {"م", "\uFEE1"}},
                          {245, {"م", "\uFEE3"}},  {246, {"ن", "\uFEE5"}}, {247, {"ن", "\uFEE7"}},
                          {248, {"و", "\uFEED"}},  {249, {"ه", "\uFEE9"}}, {250, {"ه", "\uFEEC"}},
                          {251, {"ه", "\uFEEB"}},  {252, {"ی", "\uFBFD"}}, {253, {"ی", "\uFBFC"}},
                          {254, {"ی", "\uFBFE"}}};
  for (const Row& row : rows) glyphs[row.code - 128U] = row.glyph;
  return glyphs;
}

constexpr std::array<Glyph, 128> upperGlyphs = makeUpperGlyphs();

std::string glyphText(std::uint8_t code, std::string_view Glyph::*side) {
  if (code >= 128) return std::string(upperGlyphs[code - 128U].*side);
  if (code < ' ' || code == 127) return "\uFFFD";
  return std::string(1, static_cast<char>(code));
}

Payload withoutFill(Payload codes) {
  while (!codes.empty() && codes.back() == ' ') codes = codes.first(codes.size() - 1);
  return codes;
}

}  // namespace

Display::Display(Payload codes) {
  std::vector<std::string> row;
  for (const std::uint8_t code : withoutFill(codes)) {
    row.push_back(glyphText(code, &Glyph::text));
    drawn += glyphText(code, &Glyph::form);
  }
  read = Reading(row).text();
}

std::string Display::told() const {
  // NOLINTNEXTLINE(misc-misleading-bidirectional): the text that is told ends it
  constexpr std::string_view fromLeftToRight = "\u202D";
  constexpr std::string_view endOfThat = "\u202C";
  return inQuotes(read) + ", drawn \"" + std::string(fromLeftToRight) + drawn +
         std::string(endOfThat) + '"';
}

}  // namespace cronvel::simulator
