#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/MessagePump.h"
#include "runtime/Bytes.h"
#include "runtime/Variant.h"

namespace cronvel {

/// A ring of 1025 short messages, each with the name of its source: a handler puts in what it
/// received, later work takes it out. Nobody counts: after 1025 puts without a get the ring looks
/// empty, and more of them overwrite the oldest.
///
/// Putting and getting pump events before every byte. A handler that runs then and calls the queue
/// finds it busy: its put or get does nothing. An error, from here or out of a handler, leaves the
/// queue busy for good.
class CQueue {
 public:
  /// The pump must outlive the queue.
  explicit CQueue(MessagePump& pump);

  /// Stores `Data` (30 bytes at most, or 9), the length that a get will tell (a byte, or 6), which
  /// need not be the length of `Data`, and `Source` without the blanks around it. `Data` must not
  /// change until this returns.
  void PutData(const Bytes& Data, std::int32_t DataLen, std::u16string_view Source);

  /// Takes the next message, as many bytes as its put told (9 for more than 30). For a told length
  /// of 0, `Data` is one byte of 255. On an empty queue it takes whatever is in the next slot: ask
  /// `IsQueueEmpty` first. A busy queue leaves the arguments as they are.
  void GetData(Bytes& Data, std::int32_t& DataLen, std::u16string& Source);

  /// True also while the queue is busy.
  bool IsQueueEmpty() const;

  /// Does nothing.
  void SeekData(const Variant&, const Variant&, const Variant&) {}

  /// Always a 32-bit 0.
  Variant ClassDebugID() const { return mDebugID; }

 private:
  static constexpr std::int16_t slotCount = 1025;
  static constexpr std::size_t slotSize = 30;

  struct Slot {
    std::u16string source;
    std::uint8_t length = 0;
    std::array<std::uint8_t, slotSize> data{};
  };

  Slot& slotAt(std::int16_t index) { return mSlots[static_cast<std::size_t>(index)]; }
  static void advance(std::int16_t& index);
  static void requireRoom(std::size_t index);

  MessagePump& mPump;
  std::vector<Slot> mSlots;
  std::int16_t mHead = 0;  ///< the slot to read next
  std::int16_t mTail = 0;  ///< the slot to write next
  bool mBusy = false;
  std::int32_t mDebugID = 0;
};

}  // namespace cronvel
