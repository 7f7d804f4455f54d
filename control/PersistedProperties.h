#pragma once

#include <span>
#include <string_view>

#include "runtime/Variant.h"

namespace cronvel {

class Cronvel;

/// A property that hosts keep with their form: its row in the one table of them, which reading,
/// writing, the property page, the settings file and the command line walk.
struct PersistedProperty {
  /// When it can be set.
  enum class SetRule {
    always,   ///< in a form designer too
    runMode,  ///< 387 in a form designer
    talks,    ///< as `runMode`, and the set sends a command to the terminal
  };

  std::string_view key;  ///< its name, too
  SetRule rule;
  Variant defaultValue;  ///< what a bag leaves out; a byte is kept as a 16-bit integer
  Variant (*get)(const Cronvel& control);
  /// What a form loads: reports nothing and sends nothing. Raises 13 or 6 for a value that cannot
  /// be had in the property's type.
  void (*load)(Cronvel& control, const Variant& value);
  /// The property's own set. The value as in `load`.
  void (*set)(Cronvel& control, const Variant& value);
};

/// In the order in which they are read and written.
std::span<const PersistedProperty> persistedProperties();

}  // namespace cronvel
