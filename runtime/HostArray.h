#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "runtime/RunTimeError.h"

namespace cronvel {

/// An array that a host passes, with the lower bound that it was declared with.
template <typename T>
class HostArray {
 public:
  HostArray() = default;
  HostArray(std::initializer_list<T> elements) : mElements(elements) {}
  HostArray(std::vector<T> elements, std::int32_t lowerBound = 0)
      : mElements(std::move(elements)), mLowerBound(lowerBound) {}

  /// The element that the host knows under this index; 9 where there is none.
  T at(std::int32_t index) const {
    const std::int64_t offset = std::int64_t{index} - mLowerBound;
    if (offset < 0 || offset >= static_cast<std::int64_t>(mElements.size()))
      throw RunTimeError(ErrorNumber::subscriptOutOfRange,
                         "the array has no element " + std::to_string(index));
    return mElements[static_cast<std::size_t>(offset)];
  }

 private:
  std::vector<T> mElements;
  std::int32_t mLowerBound = 0;
};

}  // namespace cronvel
