#include "link/CQueue.h"

#include <gtest/gtest.h>

#include "tests/support/Errors.h"
#include "tests/support/FakePlatform.h"

namespace cronvel::test {
namespace {

class CQueueTest : public testing::Test, protected MessagePump {
 protected:
  std::string get() {
    Bytes data{1, 2, 3};
    std::int32_t length = -1;
    std::u16string source = u"untouched";
    queue.GetData(data, length, source);
    return std::to_string(length) + hex(data) + " " + toUtf8(source);
  }
  void DoEvents() override {
    ++passes;
    handler();
  }
  void awaitEvents() override { ADD_FAILURE() << "the queue must not wait"; }
  void wake() override {}

  int passes = 0;
  std::function<void()> handler = [] {};
  CQueue queue{*this};
};

TEST_F(CQueueTest, MessagesComeOutInOrderWithTheLengthThatWasTold) {
  EXPECT_TRUE(queue.IsQueueEmpty());
  queue.PutData({10, 11, 12}, 3, u"  COM 1 ");
  queue.PutData({20, 21, 22}, 2, u"socket");
  queue.PutData({30}, 0, u"none");
  queue.PutData(Bytes(30, 7), 30, u"");
  EXPECT_EQ(passes, 37);
  EXPECT_FALSE(queue.IsQueueEmpty());
  EXPECT_EQ(get(), "3 0A 0B 0C COM 1");
  EXPECT_EQ(get(), "2 14 15 socket");
  EXPECT_EQ(get(), "0 FF none");
  EXPECT_EQ(get(), "30" + hex(Bytes(30, 7)) + " ");
  EXPECT_EQ(passes, 37 + 35);
  EXPECT_TRUE(queue.IsQueueEmpty());
  EXPECT_EQ(queue.ClassDebugID(), Variant(std::int32_t{0}));
}

TEST_F(CQueueTest, AnErrorLeavesTheQueueBusy) {
  EXPECT_EQ(messageOf([&] { queue.PutData({1}, 256, u""); }), "Overflow: 256 is outside 0 to 255");
  EXPECT_EQ(errorOf([&] { queue.PutData({1}, 256, u""); }), 0);
  EXPECT_TRUE(queue.IsQueueEmpty());
  CQueue broken(*this);
  EXPECT_EQ(messageOf([&] { broken.PutData(Bytes(31), 1, u""); }),
            "Subscript out of range: a message of the queue holds 30 bytes at most; split it");
}

TEST_F(CQueueTest, NobodyCountsSoAFullRingLooksEmpty) {
  for (int i = 0; i < 1025; ++i) queue.PutData({static_cast<std::uint8_t>(i % 250)}, 1, u"");
  EXPECT_TRUE(queue.IsQueueEmpty());
  queue.PutData({251}, 1, u"");  // over the oldest
  EXPECT_FALSE(queue.IsQueueEmpty());
  EXPECT_EQ(get(), "1 FB ");
  EXPECT_TRUE(queue.IsQueueEmpty());
  EXPECT_EQ(get(), "1 01 ");  // stale, and the reader has overtaken the writer
  EXPECT_FALSE(queue.IsQueueEmpty());
}

TEST_F(CQueueTest, CallsOutOfAHandlerDoNothing) {
  handler = [&] {
    EXPECT_TRUE(queue.IsQueueEmpty());
    queue.PutData({9, 9, 9}, 3, u"inner");
    EXPECT_EQ(get(), "-1 01 02 03 untouched");
  };
  queue.PutData({1, 2}, 2, u"outer");
  EXPECT_EQ(get(), "2 01 02 outer");
  EXPECT_EQ(passes, 4);
  EXPECT_TRUE(queue.IsQueueEmpty());
}

}  // namespace
}  // namespace cronvel::test
