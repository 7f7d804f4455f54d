#pragma once

#include <string_view>

namespace cronvel {

/// The form, document or program that a control was placed in.
class Container {
 public:
  virtual ~Container() = default;
  /// False in a form designer. A container that does not tell is in run mode.
  virtual bool UserMode() const { return true; }
  /// A persisted property has changed; `key` is its property-bag key.
  virtual void PropertyChanged(std::string_view /*key*/) {}
};

}  // namespace cronvel
