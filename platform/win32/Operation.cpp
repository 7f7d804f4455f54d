#include "platform/win32/Operation.h"

namespace cronvel {

Operation::~Operation() {
  if (state() != State::running) return;
  CancelIoEx(mDevice, &mOverlapped);
  DWORD count = 0;
  GetOverlappedResult(mDevice, &mOverlapped, &count, TRUE);
}

void Operation::read(std::size_t size) {
  begin(Bytes(size));
  started(ReadFile(mDevice, mBuffer.data(), static_cast<DWORD>(size), nullptr, &mOverlapped));
}

void Operation::write(std::span<const std::uint8_t> bytes) {
  begin(Bytes(bytes.begin(), bytes.end()));
  started(WriteFile(mDevice, mBuffer.data(), static_cast<DWORD>(mBuffer.size()), nullptr,
                    &mOverlapped));
}

Operation::State Operation::state() {
  if (mState == State::running) {
    DWORD count = 0;
    if (GetOverlappedResult(mDevice, &mOverlapped, &count, FALSE) != 0) {
      mState = State::done;
      mBuffer.resize(count);
    } else if (GetLastError() != ERROR_IO_INCOMPLETE) {
      failed();
    }
  }
  return mState;
}

void Operation::begin(Bytes buffer) {
  mBuffer = std::move(buffer);
  mOverlapped = {};
  mOverlapped.hEvent = mEvent.get();
  mState = State::running;
}

void Operation::started(BOOL ok) {
  if (ok == 0 && GetLastError() != ERROR_IO_PENDING) {
    failed();
    SetEvent(mEvent.get());  // whoever waits for it has to see the failure
  }
}

void Operation::failed() {
  mError = GetLastError();
  mState = State::failed;
  mBuffer.clear();
}

}  // namespace cronvel
