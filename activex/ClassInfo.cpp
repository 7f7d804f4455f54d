#include "activex/ClassInfo.h"

#include "activex/Module.h"
#include "activex/Values.h"

namespace cronvel::activex {

STDMETHODIMP ClassInfo::GetClassInfo(ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return guarded([&] { check(module::typeLibrary()->GetTypeInfoOfGuid(CLSID_Cronvel, info)); });
}

STDMETHODIMP ClassInfo::GetGUID(DWORD kind, GUID* guid) {
  if (guid == nullptr) return E_POINTER;
  *guid = kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID ? DIID___Cronvel : GUID_NULL;
  return kind == GUIDKIND_DEFAULT_SOURCE_DISP_IID ? S_OK : E_INVALIDARG;
}

}  // namespace cronvel::activex
