// The independent proof of the display text: what the control makes of a sentence is read back from
// the glyphs of the terminal's font.

#include "simulator/display/Display.h"

#include <gtest/gtest.h>

#include "protocol/ConvertModule.h"
#include "runtime/Text.h"

namespace cronvel::test {
namespace {

using simulator::displayedForms;
using simulator::displayedText;

TEST(DisplayTest, SentencesReadRight) {
  const char16_t* const sentences[] = {
      u"شنبه صبح جلسه داريم",
      u"لطفا كارت خود را نزد نگهبان ببريد",
      u"مرخصي شما تاييد شد",
      u"خروج بدون مجوز ممنوع",
      u"ورود",
      u"پدر ژاله گچ خريد",
      u"عيد غدير مبارك. تعطيل",
      u"طبق ضوابط ظهر حضور",
      u"رييس قسمت فني",
      u"آقاي رضا ثابت ذاكري",
      u"Cronvel يك سامانه",
      u"ساعت 1730",
  };
  for (const std::u16string sentence : sentences)
    EXPECT_EQ(toUtf16(displayedText(convertText(sentence))), sentence) << toUtf8(sentence);
}

TEST(DisplayTest, EveryLetterJoinsAsItIsWritten) {
  const std::pair<const char16_t*, const char16_t*> words[] = {
      {u"ببب", u"\xFE91\xFE91\xFE8F"},  // initial, medial, final share two glyphs
      {u"عع ع ععع", u"\xFECB\xFECA \xFEC9 \xFECB\xFECC\xFECA"},
      {u"دعا", u"\xFEA9\xFECB\xFE8E"},  // nothing joins to a dal
      {u"ههه ه", u"\xFEEB\xFEEC\xFEE9 \xFEE9"},
      {u"ييي ي", u"\xFEF3\xFEF3\xFEF2 \xFEF1"},
      {u"بابا", u"\xFE91\xFE8E\xFE91\xFE8E"},
      {u"اا", u"\xFE8D\xFE8D"},
      {u"لل", u"\xFEDF\xFEDD"},
  };
  for (const auto& [word, forms] : words)
    EXPECT_EQ(toUtf16(displayedForms(convertText(word))), forms) << toUtf8(word);
}

}  // namespace
}  // namespace cronvel::test
