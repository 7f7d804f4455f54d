#pragma once

// What every file of the COM shell stands on: the Windows headers, the generated interfaces and
// owners for the kinds of value that COM passes around.

#include <windows.h>

#include <objsafe.h>
#include <ocidl.h>
#include <ole2.h>
#include <oleauto.h>
#include <olectl.h>
#include <wrl/client.h>

#include <utility>

#include "CronvelOCX.h"  // made from Cronvel.idl

// COM interfaces have no destructors; their objects end by Release.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

namespace cronvel::activex {

using Microsoft::WRL::ComPtr;

/// Ends a call with this result, for what has no run-time error number.
struct ComError {
  HRESULT result;
};

inline void check(HRESULT result) {
  if (FAILED(result)) throw ComError{result};
}

/// A VARIANT that is cleared at its end.
class OwnedVariant {
 public:
  OwnedVariant() = default;
  ~OwnedVariant() { VariantClear(&mValue); }
  OwnedVariant(const OwnedVariant&) = delete;
  OwnedVariant& operator=(const OwnedVariant&) = delete;
  VARIANT* operator&() { return &mValue; }  // NOLINT: used as the VARIANT that it is
  VARIANT* operator->() { return &mValue; }
  VARIANT& operator*() { return mValue; }
  VARIANT release() { return std::exchange(mValue, {}); }

 private:
  VARIANT mValue{};  // VariantInit leaves the value undefined before Windows 8.1
};

/// `VariantCopyInd`, which does not change what it copies although its declaration lets it.
inline HRESULT copyValue(VARIANT* to, const VARIANT& from) {
  return VariantCopyInd(to, const_cast<VARIANT*>(&from));
}

/// What a late-bound call says of its failure; its texts are freed at its end.
struct OwnedException : EXCEPINFO {
  OwnedException() : EXCEPINFO{} {}
  ~OwnedException() {
    SysFreeString(bstrDescription);
    SysFreeString(bstrSource);
    SysFreeString(bstrHelpFile);
  }
  OwnedException(const OwnedException&) = delete;
  OwnedException& operator=(const OwnedException&) = delete;
};

/// A BSTR that is freed at its end.
class OwnedText {
 public:
  OwnedText() = default;
  explicit OwnedText(const wchar_t* text) : mText(SysAllocString(text)) {}
  explicit OwnedText(BSTR text) : mText(text) {}
  ~OwnedText() { SysFreeString(mText); }
  OwnedText(const OwnedText&) = delete;
  OwnedText& operator=(const OwnedText&) = delete;
  BSTR* operator&() { return &mText; }  // NOLINT: used as the BSTR that it is
  operator BSTR() const { return mText; }

 private:
  BSTR mText = nullptr;
};

}  // namespace cronvel::activex
