#include "simulator/device/CardList.h"

#include <gtest/gtest.h>

namespace cronvel::simulator {
namespace {

TEST(CardList, aBlockIsCheckedByItsEdgesAndItsSum) {
  struct Case {
    const char* what;
    Bytes block;
    bool good;
    std::size_t cards;
  };
  const Case cases[] = {
      {"two cards", {0xAA, 0x12, 0x34, 0x00, 0x56, 0xAA, 0, 0, 0, 0x9C}, true, 2},
      {"none", {0xAA, 0xAA, 0, 0, 0, 0}, true, 0},
      {"wrong sum", {0xAA, 0x12, 0x34, 0xAA, 0, 0, 0, 0x47}, false, 0},
      {"no start", {0x12, 0x34, 0x56, 0xAA, 0, 0, 0, 0}, false, 0},
      {"bad digits", {0xAA, 0xC3, 0x45, 0xAA, 0, 0, 1, 0x08}, false, 0},
      {"more than fit", {0xAA, 0, 1, 0, 2, 0, 3, 0, 4, 0xAA, 0, 0, 0, 10}, false, 0},
  };
  for (const Case& c : cases) {
    CardList list(3);
    EXPECT_EQ(list.load(c.block).kind == Outcome::Kind::accepted, c.good) << c.what;
    EXPECT_EQ(list.size(), c.cards) << c.what;
  }
}

TEST(CardList, aBlockEndsWithItsSumAndNotBefore) {
  const Bytes block{0xAA, 0x12, 0x34, 0xAA, 0, 0, 0, 0x46};
  for (std::size_t size = 0; size < block.size(); ++size)
    EXPECT_FALSE(CardList::blockEnded(Payload(block).first(size))) << size;
  EXPECT_TRUE(CardList::blockEnded(block));
}

TEST(CardList, aFullListRefusesANewCardOnly) {
  CardList list(1);
  const Bytes one{0x00, 0x01}, two{0x00, 0x02};
  EXPECT_EQ(list.add(one).kind, Outcome::Kind::accepted);
  EXPECT_EQ(list.add(one).kind, Outcome::Kind::accepted);
  EXPECT_EQ(list.add(two).kind, Outcome::Kind::refused);
  EXPECT_EQ(list.remove(two).kind, Outcome::Kind::accepted);
  EXPECT_EQ(list.removeAll(Bytes{'F'}).kind, Outcome::Kind::refused);
  EXPECT_EQ(list.removeAll(Bytes{'T'}).kind, Outcome::Kind::accepted);
  EXPECT_EQ(list.size(), 0U);
}

}  // namespace
}  // namespace cronvel::simulator
