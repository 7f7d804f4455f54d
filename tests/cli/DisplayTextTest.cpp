// What is typed is what the display shows: typed at the command line, converted by the control, and
// read on the simulated terminal, which shares no code with either.

#include "cli/DisplayText.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "cli/CommandFailure.h"
#include "cli/DisplayFont.h"
#include "protocol/ConvertModule.h"
#include "runtime/Text.h"
#include "simulator/display/Display.h"

namespace cronvel::test {
namespace {

simulator::Display displayOf(const DisplayText& text, const DisplayField& field) {
  Bytes sent = convertText(text.text);
  sent.resize(field.width, ' ');
  return simulator::Display(sent);
}

struct Row {
  const char* typed;
  const char* refusal = nullptr;  ///< part of what is said where it cannot be shown
  const char* reading = nullptr;  ///< where the terminal has another character for the same
  const DisplayField& field = messageField;
};

const Row rows[] = {
    {"سلام"},
    {"تعطیلات نوروز"},
    {"شنبه صبح جلسه داریم"},
    {"لطفا کارت خود را ببرید"},
    {"مرخصی شما تایید شد"},
    {"خروج بدون مجوز ممنوع"},
    {"ورود"},
    {"پدر ژاله گچ خرید"},
    {"عید غدیر مبارک. تعطیل"},
    {"طبق ضوابط ظهر حضور"},
    {"رئیس قسمت فنی"},
    {"آقای رضا ثابت ذاکری"},
    {"اطلاعات لالایی لآلی"},
    {"قطعه، طعم، خطا، مسائل"},
    {"جزء، سوء"},
    {"سـلام"},
    {"سلام، خوبی؟"},
    {"می\u200Cرود", nullptr, "میرود"},
    {"علي كمك", nullptr, "علی کمک"},
    {"Hello"},
    {"Reader 2 is off."},
    {"Mo-Fr 7:30"},
    {"ALL {DOORS} <open> [now] \"x\" \\"},
    {"call 021-555 (HR)"},
    {"Meeting 10-12"},
    {"2026-03-04 05:06"},
    {"0123456789"},
    {"2112"},
    {"1230 123 12"},
    {"ساعت 8:30"},
    {"ساعت 8 تا 17"},
    {"ساعت 10 تا 17"},
    {"ساعت 8-10"},
    {"8-10 ساعت"},
    {"ساعت 1730"},
    {"1404/7/30 تعطیل است"},
    {"طبقه ۳، اتاق ۲۵", nullptr, "طبقه 3، اتاق 25"},
    {"طبقه ٣", nullptr, "طبقه 3"},
    {"50% تخفیف"},
    {"تخفیف 50%"},
    {"1,250.5 تومان"},
    {"Cronvel یک سامانه"},
    {"سامانه Cronvel 2 آماده"},
    {"(سلام) Hello! OK"},
    {"call (HR) سلام"},
    {"اتاق 8 (HR)"},
    {"[مرخصی] {تایید} <شد>"},
    {"\uFEFFورود\u200F", nullptr, "ورود"},
    {"abcdefghijklmnopqrstuvwxyzABCDE"},
    {"لالالالالالالالالالا سلام سلام سلام"},  // 35 characters in 31 places
    {"abcdefghijklmnop", nullptr, nullptr, modeNameField},
    {"اطلاعات کلاس اول", nullptr, nullptr, modeNameField},
    {"abcdefghijklmnopqrstuvwxyzABCDEF", "takes 32 places and a message has 31"},
    {"abcdefghijklmnopqrstuvwxyz",
     "takes 26 places and a mode name has 16; as it is it would show "
     "\"\u202Dzyxwvutsrqponmlk\u202C\"",
     nullptr, modeNameField},
    {"مُحَمَّد", "U+064F), (U+064E), (U+0651); without it, \"محمد\" can"},
    {"«سلام»؟",
     "« (U+00AB), » (U+00BB); as it is it would show \"\u202D��ﻣﻻﺳﺹ\u202C\" from the left"},
    {"ة أ إ ؤ", "ة (U+0629), أ (U+0623), إ (U+0625), ؤ (U+0624)"},
    {"Café – 5€", "é (U+00E9), – (U+2013), € (U+20AC); as"},
    {"中😀\t", "中 (U+4E2D), (U+D83D), (U+DE00), (U+0009)"},
    {"10:11", "do not go together"},
    {"از 11:30 تا 12:15", "\"\u202D11301215113012 ﺎﺗ113011 ﺯﺍ\u202C\""},
};

TEST(DisplayText, WhatIsTypedIsReadOrRefused) {
  int shown = 0;
  for (const Row& row : rows) try {
      const DisplayText text = composeText(row.typed, row.field);
      const simulator::Display display = displayOf(text, row.field);
      EXPECT_EQ(row.refusal, nullptr) << row.typed << " is shown";
      EXPECT_EQ(display.read, row.reading != nullptr ? row.reading : row.typed);
      EXPECT_EQ(display.drawn, drawnRow(text.row));
      ++shown;
    } catch (const CommandFailure& failure) {
      ASSERT_NE(row.refusal, nullptr) << failure.what();
      EXPECT_EQ(failure.status(), ExitStatus::wrongUse);
      EXPECT_NE(std::string(failure.what()).find(row.refusal), std::string::npos) << failure.what();
    }
  EXPECT_GE(std::size(rows), 60U);
  EXPECT_GE(shown, 45);
}

TEST(DisplayText, LettersAreJoinedAsWritten) {
  const std::pair<const char*, std::u16string> words[] = {
      {"ببب", u"\uFE91\uFE91\uFE8F"},  // initial and medial, isolated and final share a glyph
      {"عع ع ععع", u"\uFECB\uFECA \uFEC9 \uFECB\uFECC\uFECA"},
      {"ههه ه ییی ی", u"\uFEEB\uFEEC\uFEE9 \uFEE9 \uFBFE\uFBFE\uFBFD \uFBFC"},
      {"دعا، اا: للا", u"\uFEA9\uFECB\uFE8E\u060C \uFE8D\uFE8D: \uFEDF\uFEFB"},
      {"بی\u200Cع ع\u200D!", u"\uFE91\uFBFD\uFEC9 \uFECB!"},
      {"قطع 8ع خطا", u"\uFED7\uFEC1\uFECA 8\uFEC9 \uFEA7\uFEC1\uFE8E"},
  };
  for (const auto& [word, forms] : words) {
    const std::u16string fromTheLeft(forms.rbegin(), forms.rend());
    const DisplayText text = composeText(word, messageField);
    EXPECT_EQ(displayOf(text, messageField).drawn, toUtf8(fromTheLeft)) << word;
    EXPECT_EQ(text.remark, "");
  }
}

// No text draws these; all letters are there nevertheless.
TEST(DisplayText, FormsThatCannotBeDrawnAreTold) {
  for (const char* word : {"طعم", "کمک!", "شروع: ۸"})
    EXPECT_EQ(composeText(word, messageField).remark,
              "1 letter is drawn joined otherwise than typed");
}

}  // namespace
}  // namespace cronvel::test
