#pragma once

#include "activex/Face.h"

namespace cronvel::activex {

/// Leads a host to the type library's entry of the class and to its events.
class ClassInfo final : public Face<IProvideClassInfo2> {
 public:
  using Face::Face;
  IUnknown* find(REFIID iid) {
    return iid == IID_IProvideClassInfo || iid == IID_IProvideClassInfo2 ? this : nullptr;
  }

  STDMETHODIMP GetClassInfo(ITypeInfo** info) override;
  STDMETHODIMP GetGUID(DWORD kind, GUID* guid) override;
};

}  // namespace cronvel::activex
