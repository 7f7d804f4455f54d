#pragma once

#include "activex/Com.h"

namespace cronvel::activex {

/// For whom the control is registered.
enum class Scope { machine, user };

/// Enters the control, its property page and its type library into the registry. Either all of it
/// is done, or the registry is left as it was and the first failure is returned.
HRESULT registerControl(Scope scope);

/// Removes what `registerControl` entered. What both bitnesses share stays while the other one is
/// registered.
HRESULT unregisterControl(Scope scope);

}  // namespace cronvel::activex
