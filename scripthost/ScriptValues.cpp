#include "scripthost/ScriptValues.h"

#include <climits>
#include <cstddef>
#include <cstring>
#include <vector>

#include "scripthost/ScriptObject.h"

namespace cronvel::scripthost {

namespace {

// The system's functions lack the const.
HRESULT copy(VARIANT& target, const VARIANT& value) {
  return VariantCopy(&target, const_cast<VARIANT*>(&value));
}
HRESULT copyPlain(VARIANT& target, const VARIANT& value) {
  return VariantCopyInd(&target, const_cast<VARIANT*>(&value));
}
HRESULT convert(VARIANT& target, const VARIANT& value, VARTYPE type) {
  return VariantChangeType(&target, const_cast<VARIANT*>(&value), 0, type);
}

/// Bytes that a value of the type takes behind a reference or in an array; 0 if not supported.
std::size_t sizeOf(VARTYPE type) {
  switch (type) {
    case VT_I1:
    case VT_UI1:
      return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
      return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return sizeof(void*);
    case VT_DECIMAL:
      return sizeof(DECIMAL);
    case VT_VARIANT:
      return sizeof(VARIANT);
    default:
      return 0;
  }
}

/// The types of this automation that scripts cannot compute with.
HRESULT widenForScript(Variant& value) {
  switch (value.vt) {
    case VT_I1:
      return convert(value, value, VT_I2);
    case VT_UI2:
    case VT_INT:
      return convert(value, value, VT_I4);
    case VT_UI4:
    case VT_UINT:
    case VT_I8:
    case VT_UI8: {
      const HRESULT result = convert(value, value, VT_R8);
      if (FAILED(result) || value.dblVal < LONG_MIN || value.dblVal > LONG_MAX) return result;
      return convert(value, value, VT_I4);
    }
    default:
      return S_OK;
  }
}

/// Puts the value, converted, in the place of the one of the given type at `target`.
HRESULT store(void* target, VARTYPE type, const VARIANT& value) {
  if (type == VT_VARIANT) return copy(*static_cast<VARIANT*>(target), value);
  const std::size_t size = sizeOf(type);
  if (size == 0) return DISP_E_BADVARTYPE;
  Variant converted;
  const HRESULT result = convert(converted, value, type);
  if (FAILED(result)) return result;
  if (type == VT_DECIMAL) {
    DECIMAL number = converted.decVal;
    number.wReserved = 0;
    std::memcpy(target, &number, size);
    return S_OK;
  }
  // The old value goes only after the new one is in: its end may run foreign code.
  Variant old;
  std::memcpy(&old.byref, target, size);
  std::memcpy(target, &converted.byref, size);
  old.vt = type;
  converted.vt = VT_EMPTY;
  return S_OK;
}

/// A copy of the array with elements of another type, in the same bounds.
HRESULT convertArray(SAFEARRAY* array, VARTYPE from, VARTYPE to, SAFEARRAY** copy) {
  const std::size_t fromSize = sizeOf(from);
  const std::size_t toSize = sizeOf(to);
  if (fromSize == 0 || toSize == 0) return DISP_E_BADVARTYPE;
  if (array == nullptr) {
    SAFEARRAYBOUND none{};
    *copy = SafeArrayCreate(to, 1, &none);
    return *copy != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  std::vector<SAFEARRAYBOUND> bounds(SafeArrayGetDim(array));
  std::size_t count = 1;
  for (std::size_t i = 0; i < bounds.size(); ++i) {
    LONG upper = 0;
    SafeArrayGetLBound(array, static_cast<UINT>(i + 1), &bounds[i].lLbound);
    SafeArrayGetUBound(array, static_cast<UINT>(i + 1), &upper);
    bounds[i].cElements = static_cast<ULONG>(upper - bounds[i].lLbound + 1);
    count *= bounds[i].cElements;
  }
  SAFEARRAY* made = SafeArrayCreate(to, static_cast<UINT>(bounds.size()), bounds.data());
  if (made == nullptr) return E_OUTOFMEMORY;
  void* source = nullptr;
  void* target = nullptr;
  HRESULT result = SafeArrayAccessData(array, &source);
  if (SUCCEEDED(result)) {
    SafeArrayAccessData(made, &target);
    for (std::size_t i = 0; SUCCEEDED(result) && i < count; ++i) {
      Variant element;
      element.vt = static_cast<VARTYPE>(VT_BYREF | from);
      element.byref = static_cast<std::byte*>(source) + i * fromSize;
      Variant value;
      result = copyPlain(value, element);
      if (SUCCEEDED(result) && to == VT_VARIANT) result = widenForScript(value);
      if (SUCCEEDED(result))
        result = store(static_cast<std::byte*>(target) + i * toSize, to, value);
    }
    SafeArrayUnaccessData(made);
    SafeArrayUnaccessData(array);
  }
  if (FAILED(result)) {
    SafeArrayDestroy(made);
    return result;
  }
  *copy = made;
  return S_OK;
}

/// As `value`, an array or nothing, with elements of the given type.
HRESULT arrayOf(const VARIANT& value, VARTYPE elements, Variant& copy) {
  SAFEARRAY* array = nullptr;
  VARTYPE from = VT_VARIANT;
  if ((value.vt & VT_ARRAY) != 0) {
    array = value.parray;
    from = value.vt & VT_TYPEMASK;
  } else if (value.vt != VT_EMPTY) {
    return DISP_E_TYPEMISMATCH;
  }
  SAFEARRAY* made = nullptr;
  const HRESULT result = convertArray(array, from, elements, &made);
  if (FAILED(result)) return result;
  copy = Variant();
  copy.vt = static_cast<VARTYPE>(VT_ARRAY | elements);
  copy.parray = made;
  return S_OK;
}

}  // namespace

Variant::Variant(std::wstring_view text) : Variant() {
  bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (bstrVal == nullptr) throw ScriptError{E_OUTOFMEMORY, {}};
  vt = VT_BSTR;
}

Variant::Variant(long number) : Variant() {
  vt = VT_I4;
  lVal = number;
}

Variant::Variant(IDispatch* object) : Variant() {
  vt = VT_DISPATCH;
  pdispVal = object;
  if (object != nullptr) object->AddRef();
}

Variant::Variant(Variant&& other) noexcept : VARIANT(other.release()) {}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) {
    VariantClear(this);
    static_cast<VARIANT&>(*this) = other.release();
  }
  return *this;
}

VARIANT Variant::release() {
  const VARIANT value = *this;
  VariantInit(this);
  return value;
}

std::wstring toText(const VARIANT& value) {
  if (value.vt == VT_NULL) return L"null";
  Variant text;
  check(convert(text, value, VT_BSTR));
  return {text.bstrVal, SysStringLen(text.bstrVal)};
}

long toLong(const VARIANT& value) {
  Variant number;
  check(convert(number, value, VT_I4));
  return number.lVal;
}

IUnknown* toObject(const VARIANT& value) {
  if ((value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN) || value.punkVal == nullptr)
    throw ScriptError{DISP_E_TYPEMISMATCH, L"an object is expected"};
  return value.punkVal;
}

HRESULT copyForScript(const VARIANT& given, Variant& value) {
  if ((given.vt & VT_ARRAY) == 0) {
    const HRESULT result = copyPlain(value, given);
    if (FAILED(result)) return result;
    if ((value.vt & VT_ARRAY) == 0) return widenForScript(value);
    if (value.vt == (VT_ARRAY | VT_VARIANT)) return S_OK;
    Variant array(std::move(value));
    return arrayOf(array, VT_VARIANT, value);
  }
  // A reference to no array at all is usual, and VariantCopyInd does not take it.
  VARIANT array = given;
  if ((given.vt & VT_BYREF) != 0) {
    array.vt = static_cast<VARTYPE>(given.vt & ~VT_BYREF);
    array.parray = *given.pparray;
  }
  return arrayOf(array, VT_VARIANT, value);
}

HRESULT giveBack(const VARIANT& value, const VARIANT& given) {
  Variant plain;
  HRESULT result = copyPlain(plain, value);
  if (FAILED(result)) return result;

  const VARTYPE type = static_cast<VARTYPE>(given.vt & ~VT_BYREF);
  if (type == VT_VARIANT) {
    VARIANT& target = *given.pvarVal;
    if ((target.vt & VT_BYREF) != 0) return giveBack(plain, target);
    if ((target.vt & VT_ARRAY) == 0 || (plain.vt & VT_ARRAY) == 0) return copy(target, plain);
    // The script was given an array of variants; the caller's kind of array goes back.
    Variant array;
    result = arrayOf(plain, target.vt & VT_TYPEMASK, array);
    return SUCCEEDED(result) ? copy(target, array) : result;
  }
  if ((type & VT_ARRAY) == 0) return store(given.byref, type, plain);

  Variant array;
  result = arrayOf(plain, type & VT_TYPEMASK, array);
  if (FAILED(result)) return result;
  // An array of the same size is filled in its place: the caller's may be a fixed one.
  SAFEARRAY* old = *given.pparray;
  if (old != nullptr && SUCCEEDED(SafeArrayCopyData(array.parray, old))) return S_OK;
  if (old != nullptr && FAILED(result = SafeArrayDestroy(old))) return result;
  *given.pparray = array.release().parray;
  return S_OK;
}

}  // namespace cronvel::scripthost
