#include "runtime/DelimitedInput.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/TestFolder.h"

namespace cronvel {
namespace {

using Fields = std::vector<std::string>;

Fields fieldsOf(const std::string& content) {
  const test::TestFolder folder;
  folder.write("cards.txt", content);
  DelimitedInput input(folder / "cards.txt");
  Fields fields;
  std::string field;
  while (!input.atEnd()) {
    EXPECT_TRUE(input.next(field));
    fields.push_back(field);
  }
  field = "old";
  EXPECT_FALSE(input.next(field));
  EXPECT_EQ(field, "");
  return fields;
}

TEST(DelimitedInput, Fields) {
  const std::pair<std::string, Fields> cases[] = {
      {"", {}},
      {"\r\n", {""}},
      {"1234\r\n\r\nabcde\r\n56", {"1234", "", "abcde", "56"}},
      {"1\r\n2\n3\r4\n", {"1", "2", "3", "4"}},
      {"1\n\r2", {"1", "", "2"}},
      {"1,2, 3 ,,4\r\n", {"1", "2", "3 ", "", "4"}},
      {"1,", {"1"}},
      {"1\r\n  ", {"1", ""}},
      {"\"1,2\" , 3\r\n\"4\"\r\n5\"6\"", {"1,2", "3", "4", "5\"6\""}},
      {"\"a\r\nb\"c\n\"\",\"open\r\n", {"a\r\nb", "c", "", "open\r\n"}},
      {"\t7\x1A,8", {"\t7\x1A", "8"}},
      {std::string("1\0\xC8,2", 5), {std::string("1\0\xC8", 3), "2"}},
      {"\xEF\xBB\xBF"
       "1234",
       {"1234"}},
      {"\xEF\xBB\xBF", {}},
      {"\xEF\xBB", {"\xEF\xBB"}},
      {"1\n\xEF\xBB\xBF", {"1", "\xEF\xBB\xBF"}},
  };
  for (const auto& [content, fields] : cases) EXPECT_EQ(fieldsOf(content), fields) << content;
}

TEST(DelimitedInput, FieldsAndSeparatorsOverBlockEnds) {
  // Five bytes a card: the block's end meets every place of a card and of its line end.
  std::string content = "x\r\n";
  for (int i = 0; i < 9999; ++i) content += "123\r\n";
  content += "\"" + std::string(10000, 'y') + "\"";
  const Fields fields = fieldsOf(content);
  ASSERT_EQ(fields.size(), 10001U);
  for (std::size_t i = 1; i < 10000; ++i) ASSERT_EQ(fields[i], "123") << i;
  EXPECT_EQ(fields.back(), std::string(10000, 'y'));
}

}  // namespace
}  // namespace cronvel
