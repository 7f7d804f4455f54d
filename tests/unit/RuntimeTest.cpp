#include <gtest/gtest.h>

#include <cmath>

#include "runtime/Conversion.h"
#include "runtime/File.h"
#include "runtime/HostArray.h"
#include "runtime/Text.h"
#include "tests/support/Errors.h"

namespace cronvel::test {
namespace {

TEST(Conversion, TimesThatAreNoTexts) {
  const std::pair<Variant, int> cases[] = {{Time{45000.5}, 43200},
                                           {0.25, 21600},
                                           {Time{-1.25}, 21600},
                                           {Time{86399.6 / 86400}, 0},
                                           {std::int16_t{3}, 0}};
  for (const auto& [value, seconds] : cases) EXPECT_EQ(secondsOfDay(value), seconds);
  EXPECT_EQ(errorOf([] { secondsOfDay(Variant()); }), 13);
  EXPECT_EQ(errorOf([] { secondsOfDay(HUGE_VAL); }), 6);
  EXPECT_EQ(errorOf([] { secondsOfDay(Bytes{1}); }), 13);
}

TEST(Conversion, LikeAnotherValue) {
  for (const Variant& value : {Variant(u"True"), Variant(u"true"), Variant(u"2"), Variant(0.5)})
    EXPECT_EQ(convertLike(value, false), Variant(true));
  for (const Variant& value : {Variant(u"False"), Variant(u"false"), Variant(std::int16_t{0}), {}})
    EXPECT_EQ(convertLike(value, true), Variant(false));
  const std::pair<Variant, Variant> cases[] = {
      {true, std::int16_t{-1}}, {false, std::int32_t{0}}, {std::int32_t{-1234567}, u"-1234567"},
      {true, u"True"},          {false, u"False"},        {{}, u""},
      {{}, std::int16_t{0}},    {1.5, std::int16_t{2}},   {Time{2.5}, 2.5},
      {-0.25, u"-0.25"}};
  for (const auto& [value, wanted] : cases)
    EXPECT_EQ(convertLike(value, wanted), wanted) << wanted.index();
  EXPECT_EQ(errorOf([] { convertLike(Bytes{1}, std::int16_t{0}); }), 13);
  EXPECT_EQ(errorOf([] { convertLike(std::int32_t{32768}, std::int16_t{0}); }), 6);
}

TEST(RunTimeErrors, EveryNumberHasItsText) {
  // Hosts compare them: who changes one on purpose changes the sum, a polynomial, too.
  std::uint64_t sum = 0;
  int texts = 0;
  for (int number = 0; number < 50000; ++number) {
    const std::string text = errorText(static_cast<ErrorNumber>(number));
    if (text == "Error") continue;
    ++texts;
    for (const char c : std::to_string(number) + " " + text + "\n")
      sum = (sum * 257 + static_cast<unsigned char>(c)) % 4'294'967'291;
  }
  EXPECT_EQ(texts, 38);
  EXPECT_EQ(sum, 1'842'828'062U);
  EXPECT_STREQ(RunTimeError(ErrorNumber::overflow, "300 is too much").what(),
               "Overflow: 300 is too much");
  EXPECT_STREQ(RunTimeError(ErrorNumber::overflow).what(), "Overflow");
}

TEST(HostArrays, KeepTheHostsIndexes) {
  const HostArray<std::uint8_t> array({5, 6}, 3);
  EXPECT_EQ(array.at(3) * 10 + array.at(4), 56);
  for (const int index : {2, 5, -3}) EXPECT_EQ(errorOf([&] { array.at(index); }), 9);
}

TEST(Text, Utf8AndUtf16) {
  EXPECT_EQ(toUtf16("ارتباط"), u"ارتباط");
  const std::u16string borders = u"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
  EXPECT_EQ(toUtf16(toUtf8(borders)), borders);
  EXPECT_EQ(toUtf8(borders).size(), 1U + 2 + 2 + 3 + 3 + 3 + 3 + 4 + 4);
  EXPECT_EQ(toUtf16("\xF4\x90\x80\x80\xF0\x8F\xBF\xBF\xE0\x9F\xBF\xC1\xBF\xED\xA0\x80\xE2\x82"),
            std::u16string(18, u'\xFFFD'));
  EXPECT_EQ(toUtf8(u"\U0001F600 ك"), "\U0001F600 ك");
  EXPECT_EQ(toUtf16("\xC3\x28 \xED\xA0\x80 \xF5"), u"\xFFFD( \xFFFD\xFFFD\xFFFD \xFFFD");
  EXPECT_EQ(toUtf8(u"\xD800x"), "\xEF\xBF\xBDx");
}

TEST(File, CheckNameKeepsFolderAndBaseName) {
  const std::pair<const char16_t*, const char16_t*> cases[] = {
      {u"/data/rec.bin", u"/data/rec.Hex"}, {u"rec", u"rec.Hex"},  {u"./a.b.c", u"./a.b.Hex"},
      {u"d.x/rec", u"d.x/rec.Hex"},         {u"rec.", u"rec.Hex"}, {u"پ/حضور.Hex", u"پ/حضور.Hex"}};
  for (const auto& [name, check] : cases) EXPECT_EQ(withExtension(name, u".Hex"), check);
  EXPECT_EQ(errorOf([] { withExtension(u"", u".Hex"); }), 52);
}

TEST(File, ErrorsNameNumberAndCause) {
  const auto folder = std::filesystem::temp_directory_path();
  EXPECT_EQ(errorOf([&] { File(folder, File::Access::output); }), 75);
  const std::string text =
      messageOf([&] { File(folder / "no folder" / "x.Hex", File::Access::output); });
  for (const char* part : {"x.Hex (", "); make the folder"})  // around the system's own words
    EXPECT_NE(text.find(part), std::string::npos) << text;
}

}  // namespace
}  // namespace cronvel::test
