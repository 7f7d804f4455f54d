#pragma once

#include <string_view>

#include "activex/Com.h"

namespace cronvel::activex {

/// What the type library says of a property. The table of all is in InterfaceProperties.h.
struct InterfaceProperty {
  std::string_view name;
  DISPID id;
  std::wstring_view help;
};

/// The property of this name; null where the interface has none.
const InterfaceProperty* interfaceProperty(std::string_view name);

}  // namespace cronvel::activex
