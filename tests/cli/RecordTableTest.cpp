#include "cli/RecordTable.h"

#include <gtest/gtest.h>

#include <sstream>

namespace cronvel::test {
namespace {

std::string format(TableFormat format, const std::vector<CardRecord>& records) {
  std::ostringstream out;
  RecordTable table(out, format);
  for (const CardRecord& record : records) table.add(record);
  table.end();
  return out.str();
}

TEST(RecordTable, ReadsWhatTheCheckWrote) {
  const CardRecord expected{"0012", "31/12/07", "09:30", "ED"};
  EXPECT_EQ(parseRecord(R"("0012","0930","311207","ED")"), expected);
  EXPECT_EQ(parseRecord("\"0012\",\"0930\",\"311207\",\"ED\"\r"), expected);
  EXPECT_EQ(parseRecord(R"("1?34","0?30","3?1207","A3")"),
            (CardRecord{"1?34", "3?/12/07", "0?:30", "A3"}));
}

TEST(RecordTable, TakesNothingElseForARecord) {
  for (const char* line : {"", "\"", "0012,0930,311207,ED", R"("0012","0930","311207")",
                           R"("0012","0930","311207","ED","x")", R"("0012","0930","311207","ED)",
                           R"("0012","930","311207","ED")", R"("0012""0930","311207","ED")",
                           R"("0012","0930","311207","ED",)"})
    EXPECT_FALSE(parseRecord(line)) << line;
}

TEST(RecordTable, ControlCharactersDoNotReachTheTerminal) {
  const auto record = parseRecord("\"\x1b[2J\",\"0930\",\"311207\",\"\xff\"");
  ASSERT_TRUE(record);
  EXPECT_EQ(record->card, "?[2J");
  EXPECT_EQ(record->type, "?");
}

TEST(RecordTable, Formats) {
  const std::vector<CardRecord> records = {{"000012", "31/12/07", "09:30", "ED"},
                                           {"1\\2", "01/01/08", "17:00", "A3"}};
  EXPECT_EQ(format(TableFormat::table, records),
            "card    date      time   type\n"
            "000012  31/12/07  09:30  ED\n"
            "1\\2     01/01/08  17:00  A3\n");
  EXPECT_EQ(format(TableFormat::csv, records),
            "card,date,time,type\n"
            "\"000012\",\"31/12/07\",\"09:30\",\"ED\"\n"
            "\"1\\2\",\"01/01/08\",\"17:00\",\"A3\"\n");
  EXPECT_EQ(
      format(TableFormat::json, records),
      "[\n"
      "  {\"card\": \"000012\", \"date\": \"31/12/07\", \"time\": \"09:30\", \"type\": \"ED\"},\n"
      "  {\"card\": \"1\\\\2\", \"date\": \"01/01/08\", \"time\": \"17:00\", \"type\": \"A3\"}\n"
      "]\n");
}

TEST(RecordTable, NoRecordsIsStillWellFormed) {
  EXPECT_EQ(format(TableFormat::table, {}), "card  date      time   type\n");
  EXPECT_EQ(format(TableFormat::csv, {}), "card,date,time,type\n");
  EXPECT_EQ(format(TableFormat::json, {}), "[\n]\n");
}

}  // namespace
}  // namespace cronvel::test
