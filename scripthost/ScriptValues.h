#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>
#include <string_view>

namespace cronvel::scripthost {

/// A VARIANT that clears itself.
class Variant : public VARIANT {
 public:
  Variant() { VariantInit(this); }
  explicit Variant(std::wstring_view text);
  explicit Variant(long number);
  /// Adds a reference.
  explicit Variant(IDispatch* object);
  Variant(Variant&& other) noexcept;
  Variant& operator=(Variant&& other) noexcept;
  ~Variant() { VariantClear(this); }

  /// Gives the value away, the variant itself is empty afterwards.
  VARIANT release();
};

/// The value as text and as a whole number, by the rules of automation. Null is "null" as text.
/// Throw ScriptError.
std::wstring toText(const VARIANT& value);
long toLong(const VARIANT& value);
/// Throws ScriptError if the value is not an object.
IUnknown* toObject(const VARIANT& value);

/// Copies an event's argument, by value or by reference, in types that a script can work with:
/// integers that scripts do not have become the next wider type, an array one of variants.
HRESULT copyForScript(const VARIANT& given, Variant& value);

/// Writes what the script left in `value` through the reference `given`, converted to exactly the
/// type behind it. Fails with DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW and the like.
HRESULT giveBack(const VARIANT& value, const VARIANT& given);

}  // namespace cronvel::scripthost
