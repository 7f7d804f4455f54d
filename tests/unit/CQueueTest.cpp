#include "link/CQueue.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

class CountingPump : public MessagePump {
 public:
  void DoEvents() override {
    ++passes;
    if (handler) handler();
  }
  void waitEvents() override { ADD_FAILURE() << "the queue must not wait"; }

  int passes = 0;
  std::function<void()> handler;
};

struct Message {
  Bytes data = {1, 2, 3};
  std::int32_t length = -1;
  std::u16string source = u"untouched";
  bool operator==(const Message&) const = default;
};

class CQueueTest : public testing::Test {
 protected:
  Message get() {
    Message message;
    queue.GetData(message.data, message.length, message.source);
    return message;
  }
  template <typename Call>
  std::optional<ErrorNumber> errorOf(Call&& call) {
    try {
      call();
    } catch (const RunTimeError& error) {
      return error.number();
    }
    return std::nullopt;
  }

  CountingPump pump;
  CQueue queue{pump};
};

TEST_F(CQueueTest, MessagesComeOutInOrderWithTheLengthThatWasTold) {
  EXPECT_TRUE(queue.IsQueueEmpty());
  queue.PutData({10, 11, 12}, 3, u"  COM 1 ");
  queue.PutData({20, 21, 22}, 2, u"socket");
  queue.PutData({30}, 0, u"none");
  queue.PutData(Bytes(30, 7), 30, u"");
  EXPECT_EQ(pump.passes, 37);
  EXPECT_FALSE(queue.IsQueueEmpty());
  EXPECT_EQ(get(), (Message{{10, 11, 12}, 3, u"COM 1"}));
  EXPECT_EQ(get(), (Message{{20, 21}, 2, u"socket"}));
  EXPECT_EQ(get(), (Message{{255}, 0, u"none"}));
  EXPECT_EQ(get(), (Message{Bytes(30, 7), 30, u""}));
  EXPECT_EQ(pump.passes, 37 + 35);
  EXPECT_TRUE(queue.IsQueueEmpty());
  EXPECT_EQ(queue.ClassDebugID(), Variant(std::int32_t{0}));
}

TEST_F(CQueueTest, WhatDoesNotFitLeavesTheQueueBusy) {
  const std::pair<std::function<void(CQueue&)>, ErrorNumber> cases[] = {
      {[](CQueue& q) { q.PutData(Bytes(31), 1, u""); }, ErrorNumber::subscriptOutOfRange},
      {[](CQueue& q) { q.PutData({1}, 256, u""); }, ErrorNumber::overflow},
      {[](CQueue& q) { q.PutData({1}, -1, u""); }, ErrorNumber::overflow}};
  for (const auto& [put, number] : cases) {
    CQueue broken(pump);
    EXPECT_EQ(errorOf([&, &put = put] { put(broken); }), number);
    EXPECT_EQ(errorOf([&] { broken.PutData(Bytes(31), 1, u""); }), std::nullopt);
    EXPECT_TRUE(broken.IsQueueEmpty());
  }
  try {
    queue.PutData(Bytes(31), 1, u"");
  } catch (const RunTimeError& error) {
    EXPECT_STREQ(error.what(),
                 "Subscript out of range: a message of the queue holds 30 bytes at most; split it");
  }
}

TEST_F(CQueueTest, ALengthThatWasTooLongIsNoticedWhenItIsTaken) {
  queue.PutData({1}, 31, u"");
  EXPECT_EQ(errorOf([&] { get(); }), ErrorNumber::subscriptOutOfRange);
  EXPECT_EQ(get(), Message());
}

TEST_F(CQueueTest, NobodyCountsSoAFullRingLooksEmpty) {
  for (int i = 0; i < 1025; ++i) queue.PutData({static_cast<std::uint8_t>(i % 250)}, 1, u"");
  EXPECT_TRUE(queue.IsQueueEmpty());
  queue.PutData({251}, 1, u"");  // over the oldest
  EXPECT_FALSE(queue.IsQueueEmpty());
  EXPECT_EQ(get().data, Bytes{251});
  EXPECT_TRUE(queue.IsQueueEmpty());
  EXPECT_EQ(get().data, Bytes{1});  // stale, and the reader has overtaken the writer
  EXPECT_FALSE(queue.IsQueueEmpty());
}

TEST_F(CQueueTest, CallsOutOfAHandlerDoNothing) {
  int calls = 0;
  pump.handler = [&] {
    ++calls;
    EXPECT_TRUE(queue.IsQueueEmpty());
    queue.PutData({9, 9, 9}, 3, u"inner");
    EXPECT_EQ(get(), Message());
  };
  queue.PutData({1, 2}, 2, u"outer");
  EXPECT_EQ(get(), (Message{{1, 2}, 2, u"outer"}));
  EXPECT_EQ(calls, 4);
  EXPECT_TRUE(queue.IsQueueEmpty());
}

}  // namespace
}  // namespace cronvel
