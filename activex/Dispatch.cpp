#include "activex/Dispatch.h"

#include "activex/ControlObject.h"

namespace cronvel::activex {

IUnknown* Dispatch::find(REFIID iid) {
  if (iid == IID_IDispatch || iid == IID__Cronvel) return static_cast<::_Cronvel*>(this);
  if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
  return nullptr;
}

HRESULT MemberCalls::call(const std::function<void(Cronvel&)>& body) {
  const ControlObject::Busy busy(mControl);
  return guarded([&] { body(mControl.core()); });
}

ITypeInfo& Dispatch::typeInfo() {
  if (!mTypeInfo) check(module::typeLibrary()->GetTypeInfoOfGuid(IID__Cronvel, &mTypeInfo));
  return *mTypeInfo.Get();
}

STDMETHODIMP Dispatch::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 1;
  return S_OK;
}

STDMETHODIMP Dispatch::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  return guarded([&] {
    *info = &typeInfo();
    (*info)->AddRef();
  });
}

STDMETHODIMP Dispatch::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (names == nullptr || ids == nullptr) return E_POINTER;
  return guarded([&] { check(typeInfo().GetIDsOfNames(names, count, ids)); });
}

STDMETHODIMP Dispatch::Invoke(DISPID member, REFIID, LCID locale, WORD flags,
                              DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                              UINT* argumentError) {
  if (parameters == nullptr) return E_POINTER;
  const ControlObject::Busy busy(mControl);
  return guarded([&] {
    if (!mLateCalls) mLateCalls = std::make_unique<LateCalls>(typeInfo());
    check(mLateCalls->invoke(static_cast<::_Cronvel*>(this), member, locale, flags, *parameters,
                             result, exception, argumentError));
  });
}

STDMETHODIMP Dispatch::InterfaceSupportsErrorInfo(REFIID iid) {
  return iid == IID__Cronvel ? S_OK : S_FALSE;
}

}  // namespace cronvel::activex
