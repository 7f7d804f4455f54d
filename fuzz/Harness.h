#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "control/Cronvel.h"
#include "tests/support/Errors.h"
#include "tests/support/FakePlatform.h"
#include "tests/support/TestFolder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace cronvel::fuzz {

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

/// A finding: the input is kept where something else came than `expected`.
template <typename T>
void require(const T& found, const std::type_identity_t<T>& expected, std::string_view what) {
  if (found == expected) return;
  std::cerr << what << "\n  found    " << found << "\n  expected " << expected << std::endl;
  std::abort();
}

/// A control on a fake machine, for many inputs: making one takes longer than most of them.
template <typename Events = __Cronvel>
struct Setup {
  Setup() {
    platform.time.stepPerRead = 100'000;  // the calibration divides by the time that passes
    control.emplace(platform, container, events);
    platform.time.stepPerRead = 0;
    control->endWaitsAtMidnight();
    std::filesystem::current_path(folder.path());
  }
  test::FakePlatform platform;
  Container container;
  Events events;
  const test::TestFolder folder;
  std::optional<Cronvel> control;
};

}  // namespace cronvel::fuzz
