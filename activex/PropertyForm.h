#pragma once

#include "activex/Com.h"
#include "control/PersistedProperties.h"

// The dialog that shows the persisted properties: a row for each, in the order of their table, a
// check box for what is on or off and a text field for anything else.

namespace cronvel::activex {

/// A dialog below `parent` with a size of its own, whose procedure gets `context` as it is made.
/// Null when Windows has no room for it.
HWND createPropertyForm(HWND parent, DLGPROC procedure, LPARAM context);

/// The property that a field's number stands for; null for none.
const PersistedProperty* propertyOfField(int field);
HWND fieldOf(HWND form, const PersistedProperty& property);

/// What the field shows, as a flag or as text. A value of no use for the field leaves it as it is.
void showIn(HWND field, const PersistedProperty& property, VARIANT& value);
VARIANT shownIn(HWND field, const PersistedProperty& property);
/// The text of a field or of a label.
std::wstring textIn(HWND window);

}  // namespace cronvel::activex
