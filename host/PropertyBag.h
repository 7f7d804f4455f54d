#pragma once

#include <string_view>

#include "runtime/Variant.h"

namespace cronvel {

/// Where a host keeps a control's settings with its form.
class PropertyBag {
 public:
  virtual ~PropertyBag() = default;
  /// The value stored under the key, else `defaultValue`. A value that cannot be had in the
  /// default's type raises 13 (or 6 when it is a number out of its range).
  virtual Variant ReadProperty(std::string_view key, const Variant& defaultValue) = 0;
  /// Stores the value; one that equals the default is left out.
  virtual void WriteProperty(std::string_view key, const Variant& value,
                             const Variant& defaultValue) = 0;
};

}  // namespace cronvel
