#include "activex/LateCall.h"

#include <deque>
#include <optional>

#include "activex/Values.h"

namespace cronvel::activex {
namespace {

/// What a parameter's value is, whether it is passed by value or by reference.
VARTYPE typeOf(const TYPEDESC& type) {
  if (type.vt == VT_PTR) return typeOf(*type.lptdesc);
  if (type.vt == VT_SAFEARRAY) return static_cast<VARTYPE>(VT_ARRAY | type.lptdesc->vt);
  return type.vt;
}

/// The value behind a variable of a script.
const VARIANT& direct(const VARIANT& value) {
  return value.vt == (VT_BYREF | VT_VARIANT) ? direct(*value.pvarVal) : value;
}

/// An array, by value or by reference; null for anything else.
SAFEARRAY* arrayIn(const VARIANT& value) {
  if ((value.vt & VT_ARRAY) == 0) return nullptr;
  return (value.vt & VT_BYREF) != 0 ? *value.pparray : value.parray;
}

HRESULT elementOf(SAFEARRAY* array, LONG index, VARTYPE type, VARIANT& element) {
  const bool fills = type == VT_VARIANT || type == VT_DECIMAL;
  const HRESULT done = SafeArrayGetElement(
      array, &index, fills ? static_cast<void*>(&element) : static_cast<void*>(&element.byref));
  if (SUCCEEDED(done) && type != VT_VARIANT) element.vt = type;
  return done;
}

HRESULT convert(VARIANT& to, const VARIANT& from, VARTYPE type, LCID locale) {
  if (direct(from).vt == VT_ERROR) return DISP_E_PARAMNOTOPTIONAL;
  return VariantChangeTypeEx(&to, const_cast<VARIANT*>(&direct(from)), locale, 0, type);
}

/// Element by element, with the array's own bounds.
HRESULT convertArray(VARIANT& to, const VARIANT& given, VARTYPE elementType, LCID locale) {
  SAFEARRAY* const from = arrayIn(given);
  SAFEARRAYBOUND bound{};
  LONG upperBound = -1;
  if (SafeArrayGetDim(from) != 1) return DISP_E_TYPEMISMATCH;
  SafeArrayGetLBound(from, 1, &bound.lLbound);
  SafeArrayGetUBound(from, 1, &upperBound);
  bound.cElements = static_cast<ULONG>(upperBound - bound.lLbound + 1);
  to.parray = SafeArrayCreate(elementType, 1, &bound);
  if (to.parray == nullptr) return E_OUTOFMEMORY;
  to.vt = static_cast<VARTYPE>(VT_ARRAY | elementType);
  for (LONG i = bound.lLbound; i <= upperBound; ++i) {
    OwnedVariant element, converted;
    HRESULT done = elementOf(from, i, given.vt & VT_TYPEMASK, *element);
    if (SUCCEEDED(done)) done = convert(*converted, *element, elementType, locale);
    if (FAILED(done)) return done;
    void* const stored = elementType == VT_BSTR ? static_cast<void*>(converted->bstrVal)
                                                : static_cast<void*>(&converted->byref);
    done = SafeArrayPutElement(to.parray, &i, stored);
    if (FAILED(done)) return done;
  }
  return S_OK;
}

/// The arguments of a call in the order and with the types of the declaration.
class Converted {
 public:
  explicit Converted(std::size_t count) : mStored(count), mPassed(count) {}

  HRESULT set(std::size_t index, const VARIANT& given, VARTYPE type, LCID locale) {
    VARIANT& passed = mPassed[mPassed.size() - 1 - index];  // `Invoke` takes the last one first
    if (given.vt == (VT_BYREF | type)) {
      passed = given;
      return S_OK;
    }
    if (type != VT_VARIANT) mExact = false;
    VARIANT& stored = *mStored[index];
    HRESULT done = S_OK;
    if (type == VT_VARIANT) {
      done = copyValue(&stored, given);
      passed.vt = VT_BYREF | VT_VARIANT;
      passed.pvarVal = &stored;
      return done;
    }
    if ((type & VT_ARRAY) != 0)
      done = setArray(stored, direct(given), type, locale);
    else
      done = convert(stored, given, type, locale);
    passed.vt = static_cast<VARTYPE>(VT_BYREF | type);
    passed.byref = &stored.byref;  // all kinds of value stand in the same place
    return done;
  }

  bool exact() const { return mExact; }
  DISPPARAMS parameters() {
    return {mPassed.data(), nullptr, static_cast<UINT>(mPassed.size()), 0};
  }

 private:
  static HRESULT setArray(VARIANT& stored, const VARIANT& given, VARTYPE type, LCID locale) {
    if (given.vt == type || given.vt == (VT_BYREF | type)) return copyValue(&stored, given);
    if (arrayIn(given) != nullptr)
      return convertArray(stored, given, static_cast<VARTYPE>(type & ~VT_ARRAY), locale);
    if (given.vt != VT_EMPTY) return DISP_E_TYPEMISMATCH;
    stored.vt = type;  // an array that was never given a size
    stored.parray = nullptr;
    return S_OK;
  }

  std::deque<OwnedVariant> mStored;
  std::vector<VARIANT> mPassed;
  bool mExact = true;
};

/// The argument for a parameter, by name or by place.
const VARIANT* argumentFor(const DISPPARAMS& given, std::size_t parameter) {
  for (UINT i = 0; i < given.cNamedArgs; ++i)
    if (given.rgdispidNamedArgs[i] == static_cast<DISPID>(parameter)) return &given.rgvarg[i];
  const UINT unnamed = given.cArgs - given.cNamedArgs;
  return parameter < unnamed ? &given.rgvarg[given.cArgs - 1 - parameter] : nullptr;
}

void makeTakeable(VARIANT& result) {
  if (result.vt != (VT_ARRAY | VT_UI1)) return;
  SAFEARRAY* const array = newVariantArray(bytesOf(result.parray));
  VariantClear(&result);
  result.vt = VT_ARRAY | VT_VARIANT;
  result.parray = array;
}

}  // namespace

LateCalls::LateCalls(ITypeInfo& info) : mInfo(&info) {
  FUNCDESC* function = nullptr;
  for (UINT i = 0; SUCCEEDED(info.GetFuncDesc(i, &function)); ++i) {
    if (function->invkind == INVOKE_FUNC && function->memid > 0 &&
        (function->wFuncFlags & FUNCFLAG_FRESTRICTED) == 0) {
      Parameters& parameters = mMethods[function->memid];
      for (SHORT p = 0; p < function->cParams; ++p)
        parameters.push_back({typeOf(function->lprgelemdescParam[p].tdesc)});
    }
    info.ReleaseFuncDesc(function);
  }
}

HRESULT LateCalls::invoke(void* instance, DISPID member, LCID locale, WORD flags, DISPPARAMS& given,
                          VARIANT* result, EXCEPINFO* exception, UINT* argumentError) {
  const auto method = mMethods.find(member);
  if (method == mMethods.end())
    return mInfo->Invoke(instance, member, flags, &given, result, exception, argumentError);
  const Parameters& parameters = method->second;
  if (given.cArgs != parameters.size()) return DISP_E_BADPARAMCOUNT;
  Converted converted(parameters.size());
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const VARIANT* const argument = argumentFor(given, i);
    const HRESULT done = argument == nullptr
                             ? DISP_E_PARAMNOTOPTIONAL
                             : converted.set(i, *argument, parameters[i].type, locale);
    if (FAILED(done)) {
      if (argumentError != nullptr) *argumentError = static_cast<UINT>(parameters.size() - 1 - i);
      return done;
    }
  }
  DISPPARAMS passed = converted.parameters();
  const HRESULT done = mInfo->Invoke(instance, member, flags, &passed, result, exception, nullptr);
  if (SUCCEEDED(done) && result != nullptr && !converted.exact()) makeTakeable(*result);
  return done;
}

}  // namespace cronvel::activex
