#pragma once

#include <cstdint>
#include <string>

#include "activex/Com.h"
#include "runtime/Bytes.h"
#include "runtime/HostArray.h"
#include "runtime/RunTimeError.h"
#include "runtime/Variant.h"

// Between COM's types and the control's own. What cannot be converted raises 13 (type mismatch); a
// null pointer where a value must be is the failure E_POINTER.

namespace cronvel::activex {

std::u16string textOf(BSTR text);
/// Raises out of memory as E_OUTOFMEMORY.
BSTR newText(const std::u16string& text);
BSTR newText(const std::string& utf8);

/// A variant of any kind, a by-reference one too, as one of the few that the control knows.
Variant variantOf(const VARIANT& value);
/// The other way; the caller owns it.
VARIANT newVariant(const Variant& value);

SAFEARRAY* newByteArray(const Bytes& bytes);
/// A byte array as an array of variants, each a byte.
SAFEARRAY* newVariantArray(const Bytes& bytes);

/// The elements of a one-dimensional array. A null array has none. `T` is uint8_t, bool or
/// u16string.
template <typename T>
HostArray<T> arrayOf(SAFEARRAY* array);
Bytes bytesOf(SAFEARRAY* array);

template <typename T>
T& pointee(T* pointer) {
  if (pointer == nullptr) throw ComError{E_POINTER};
  return *pointer;
}

/// Arguments: `In<T>::from` turns what the dispatch interface passes into the control's `T`.
template <typename T>
struct In {
  static T from(T value) { return value; }
  static T from(T* value) { return pointee(value); }
};
template <>
struct In<std::int32_t> {
  static std::int32_t from(LONG value) { return value; }
  static std::int32_t from(LONG* value) { return pointee(value); }
};
template <>
struct In<bool> {
  static bool from(VARIANT_BOOL value) { return value != VARIANT_FALSE; }
  static bool from(VARIANT_BOOL* value) { return pointee(value) != VARIANT_FALSE; }
};
template <>
struct In<std::u16string> {
  static std::u16string from(BSTR value) { return textOf(value); }
  static std::u16string from(BSTR* value) { return textOf(pointee(value)); }
};
template <>
struct In<Variant> {
  static Variant from(VARIANT* value) { return variantOf(pointee(value)); }
};
template <>
struct In<Bytes> {
  static Bytes from(SAFEARRAY** value) { return bytesOf(pointee(value)); }
};
template <typename T>
struct In<HostArray<T>> {
  static HostArray<T> from(SAFEARRAY** value) { return arrayOf<T>(pointee(value)); }
};

// Results.
inline void give(VARIANT_BOOL* result, bool value) {
  pointee(result) = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void give(BYTE* result, std::uint8_t value) { pointee(result) = value; }
inline void give(SHORT* result, std::int16_t value) { pointee(result) = value; }
inline void give(LONG* result, std::int32_t value) { pointee(result) = value; }
inline void give(BSTR* result, const std::u16string& value) { pointee(result) = newText(value); }
inline void give(VARIANT* result, const Variant& value) { pointee(result) = newVariant(value); }

/// Runs the body of a COM call: what it throws becomes the call's result, with the error
/// information (number, text, source) that hosts show.
template <typename Body>
HRESULT guarded(Body body) noexcept;

/// The result for the exception that is being handled, with its error information set.
HRESULT handledError() noexcept;
/// Sets the calling thread's error information and returns `result`.
HRESULT failWith(HRESULT result, const std::string& utf8) noexcept;

template <typename Body>
HRESULT guarded(Body body) noexcept {
  SetErrorInfo(0, nullptr);  // what an earlier call left is not this one's
  try {
    body();
    return S_OK;
  } catch (...) {
    return handledError();
  }
}

}  // namespace cronvel::activex
