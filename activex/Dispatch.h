#pragma once

#include <memory>

#include "DispatchMembers.h"  // made from Cronvel.idl
#include "activex/LateCall.h"

namespace cronvel::activex {

/// The default interface of the control, early and late bound. Its members are the control's own;
/// `control/Cronvel.h` says what they do.
class Dispatch final : public DispatchMembers {
 public:
  using DispatchMembers::DispatchMembers;
  IUnknown* find(REFIID iid);

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                             DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID locale, WORD flags,
                      DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                      UINT* argumentError) override;
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override;

 private:
  ITypeInfo& typeInfo();

  ComPtr<ITypeInfo> mTypeInfo;
  std::unique_ptr<LateCalls> mLateCalls;
};

}  // namespace cronvel::activex
