#include "activex/InterfaceProperty.h"

#include <algorithm>

#include "InterfaceProperties.h"  // made from Cronvel.idl

namespace cronvel::activex {

const InterfaceProperty* interfaceProperty(std::string_view name) {
  const auto* const found = std::ranges::find(interfaceProperties, name, &InterfaceProperty::name);
  return found == std::end(interfaceProperties) ? nullptr : found;
}

}  // namespace cronvel::activex
