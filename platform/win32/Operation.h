#pragma once

#include <windows.h>

#include <span>

#include "runtime/Bytes.h"

namespace cronvel {

class OwnedHandle {
 public:
  explicit OwnedHandle(HANDLE handle) : mHandle(handle) {}
  ~OwnedHandle() {
    if (*this) CloseHandle(mHandle);
  }
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;
  HANDLE get() const { return mHandle; }
  explicit operator bool() const { return mHandle != nullptr && mHandle != INVALID_HANDLE_VALUE; }

 private:
  HANDLE mHandle;
};

/// Reading or writing that goes on in the driver. Its buffer stays where it is until it is over.
class Operation {
 public:
  enum class State { running, done, failed };

  explicit Operation(HANDLE device) : mDevice(device) {}
  ~Operation();
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  void read(std::size_t size);
  void write(std::span<const std::uint8_t> bytes);

  State state();
  /// Signalled when it is over.
  HANDLE event() const { return mEvent.get(); }
  /// Of what is done: the bytes it moved.
  const Bytes& bytes() const { return mBuffer; }
  DWORD error() const { return mError; }

 private:
  void begin(Bytes buffer);
  void started(BOOL ok);
  void failed();

  HANDLE mDevice;
  OwnedHandle mEvent{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
  OVERLAPPED mOverlapped{};
  Bytes mBuffer;
  State mState = State::done;
  DWORD mError = 0;
};

}  // namespace cronvel
