#include "protocol/ConvertModule.h"

#include <gtest/gtest.h>

#include "runtime/CodePage1256.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

TEST(CodePage1256, EveryByteThereAndBack) {
  int sum = 0;  // of Python's table of the code page
  for (int byte = 0; byte < 256; ++byte) {
    const char16_t character = fromCodePage1256(static_cast<std::uint8_t>(byte));
    sum += (byte + 1) * character;
    EXPECT_EQ(toCodePage1256(character), byte);
  }
  EXPECT_EQ(sum, 49'303'428);
  EXPECT_EQ(toCodePage1256(u"\u06CC\u0660\u4E2D\U0001F600\u0080"),
            (Bytes{'?', '?', '?', '?', '?', '?'}));
}

struct Case {
  const char16_t* text;
  Bytes glyphs;
};

void expectGlyphs(const std::vector<Case>& cases) {
  for (const Case& each : cases)
    EXPECT_EQ(convertText(each.text), each.glyphs) << toUtf8(each.text);
}

struct Forms {
  char16_t letter;
  std::uint8_t isolated;
  std::uint8_t final;
  std::uint8_t medial;
  std::uint8_t initial;
};

TEST(ConvertModule, LettersTakeTheFormThatTheirNeighboursAskFor) {
  std::vector<Forms> rows = {{u'ع', 225, 226, 227, 228}, {u'غ', 229, 230, 231, 232},
                             {u'ه', 249, 249, 250, 251}, {u'ي', 253, 252, 254, 254},
                             {u'ى', 253, 252, 254, 254}, {u'ل', 241, 241, 243, 243}};
  std::uint8_t glyph = 0;
  for (const char16_t letter : std::u16string(u"بپتثجچحخسشصضفقكگمن")) {
    constexpr std::uint8_t glyphs[] = {146, 148, 150, 152, 154, 156, 158, 160, 167,
                                       169, 171, 173, 233, 235, 237, 239, 244, 246};
    const std::uint8_t ends = glyphs[glyph++];
    const auto goesOn = static_cast<std::uint8_t>(ends + 1);
    rows.push_back({letter, ends, ends, goesOn, goesOn});
  }
  for (const Forms& row : rows) {
    const std::u16string letter(1, row.letter);
    EXPECT_EQ(convertText(letter), Bytes{row.isolated}) << toUtf8(letter);
    EXPECT_EQ(convertText(u"ب" + letter), (Bytes{row.final, 147})) << toUtf8(letter);
    EXPECT_EQ(convertText(u"ب" + letter + u"ب"), (Bytes{146, row.medial, 147})) << toUtf8(letter);
    EXPECT_EQ(convertText(letter + u"ب"), (Bytes{146, row.initial})) << toUtf8(letter);
  }
  expectGlyphs({{u"", {}},
                {u"ا", {144}},
                {u"با", {145, 147}},
                {u"اا", {144, 144}},
                // A blank parts, a digit and other characters end the joining but not the word.
                {u"ب ع", {225, 32, 146}},
                {u"بء", {193, 147}},
                {u"ع!ع", {225, 33, 228}},
                {u"ع1", {129, 228}}});
}

TEST(ConvertModule, NothingJoinsToALetterOfOneForm) {
  const std::vector<std::pair<char16_t, std::uint8_t>> singleForms = {
      {u'ئ', 142}, {u'ـ', 139}, {u'آ', 141}, {u'د', 162}, {u'ذ', 163}, {u'ر', 164},
      {u'ز', 165}, {u'ژ', 166}, {u'ط', 175}, {u'ظ', 224}, {u'و', 248}};
  for (const auto& [letter, glyph] : singleForms) {
    EXPECT_EQ(convertText(std::u16string{u'ب', letter, u'ع'}), (Bytes{225, glyph, 147}));
    EXPECT_EQ(convertText(std::u16string{letter, u'غ', u'ا'}), (Bytes{145, 232, glyph}));
    EXPECT_EQ(convertText(std::u16string{letter, u'ا'}), (Bytes{144, glyph}));
  }
}

TEST(ConvertModule, OtherCharactersKeepTheirCode) {
  expectGlyphs({{u"در Café", {0xE9, 'f', 'a', 'C', 32, 164, 162}}, {u"中ب", {146, '?'}}});
}

TEST(ConvertModule, LamAlefKeepsTheFirstTwoGlyphs) {
  expectGlyphs({{u"لا", {242, 243}},
                {u"سلام", {244, 242, 243, 168}},     // the lam's own glyph stays
                {u"استعلام", {244, 242, 168, 144}},  // two letters go with it
                {u"لالا", {242, 242, 243}},
                {u"1 لا", {242, 243, 129}},
                {u"12لا", {242, 129, 130}},  // the lam was lost to the digits
                {u"لآ", {141, 243}}});
}

TEST(ConvertModule, DigitsKeepTheirOrderAndCostTheNextCharacter) {
  expectGlyphs({{u"0123456789", {128, 129, 130, 131, 132, 133, 134, 135, 136, 137}},
                {u"12ab", {'b', 129, 130}},
                {u"د12ر34", {129, 130, 131, 132, 129, 130, 162}},
                {u"8:30", {136, 131, 128, 136}}});
}

TEST(ConvertModule, TextOfTodaysKeyboards) {
  expectGlyphs({{u"\u06A9لاس", {167, 242, 243, 238}},
                {u"علی", {252, 243, 228}},
                {u"می\u200Cرود", {162, 248, 164, 32, 252, 245}},
                {u"ب٠٩", {128, 137, 147}},
                {u"۰۹", {128, 137}}});
}

}  // namespace
}  // namespace cronvel
