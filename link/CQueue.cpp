#include "link/CQueue.h"

#include <utility>

#include "runtime/Conversion.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

CQueue::CQueue(MessagePump& pump) : mPump(pump), mSlots(slotCount) {}

void CQueue::PutData(const Bytes& Data, std::int32_t DataLen, std::u16string_view Source) {
  if (mBusy) return;
  mBusy = true;
  Slot& slot = slotAt(mTail);
  slot.source = trim(Source);
  slot.length = toByte(DataLen);
  for (std::size_t i = 0; i < Data.size(); ++i) {
    mPump.DoEvents();
    requireRoom(i);
    slot.data[i] = Data[i];
  }
  advance(mTail);
  mBusy = false;
}

void CQueue::GetData(Bytes& Data, std::int32_t& DataLen, std::u16string& Source) {
  if (mBusy) return;
  mBusy = true;
  const Slot& slot = slotAt(mHead);
  DataLen = slot.length;
  Source = slot.source;
  Bytes taken;
  for (std::size_t i = 0; i < slot.length; ++i) {
    mPump.DoEvents();
    requireRoom(i);
    taken.push_back(slot.data[i]);
  }
  if (slot.length == 0) taken.push_back(0xFF);
  Data = std::move(taken);
  advance(mHead);
  mBusy = false;
}

bool CQueue::IsQueueEmpty() const { return mBusy || mHead == mTail; }

void CQueue::advance(std::int16_t& index) {
  ++index;
  if (index == slotCount) index = 0;
}

void CQueue::requireRoom(std::size_t index) {
  if (index < slotSize) return;
  throw RunTimeError(ErrorNumber::subscriptOutOfRange,
                     "a message of the queue holds 30 bytes at most; split it");
}

}  // namespace cronvel
