#pragma once

#include <cstdint>
#include <string>

#include "tests/support/Setup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace cronvel::fuzz {

using test::require;
using test::Setup;

/// What a fuzzer's input says, taken byte by byte from its front; 0 behind its end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}
  std::uint8_t byte() { return mSize == 0 ? std::uint8_t{0} : (--mSize, *mData++); }
  std::string bytes(std::size_t count) {
    std::string taken;
    while (taken.size() < count && mSize > 0) taken += static_cast<char>(byte());
    return taken;
  }
  std::string rest() { return bytes(mSize); }

 private:
  const std::uint8_t* mData;
  std::size_t mSize;
};

}  // namespace cronvel::fuzz
