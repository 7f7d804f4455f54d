// What Windows calls in the file: its load and unload, the class factory, the registration.

#include <new>

#include "activex/ControlObject.h"
#include "activex/PropertyPage.h"
#include "activex/Registration.h"

namespace cronvel::activex {
namespace {

HRESULT createControl(IUnknown* outer, REFIID iid, void** object) {
  return ControlObject::create(outer, iid, object);
}

HRESULT createPage(IUnknown* outer, REFIID iid, void** object) {
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  auto* const page = new (std::nothrow) PropertyPage;
  if (page == nullptr) return E_OUTOFMEMORY;
  const HRESULT result = page->QueryInterface(iid, object);
  page->Release();
  return result;
}

using Create = HRESULT (*)(IUnknown* outer, REFIID iid, void** object);

/// The factories live as long as the file; only their locks count.
class Factory final : public IClassFactory {
 public:
  explicit Factory(Create create) : mCreate(create) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override {
    module::lock();
    return 2;
  }
  STDMETHODIMP_(ULONG) Release() override {
    module::unlock();
    return 1;
  }
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    // An aggregating object must be given the inner one's own unknown.
    if (outer != nullptr && iid != IID_IUnknown) return CLASS_E_NOAGGREGATION;
    return mCreate(outer, iid, object);
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock)
      module::lock();
    else
      module::unlock();
    return S_OK;
  }

 private:
  Create mCreate;
};

Factory controlFactory(createControl);
Factory pageFactory(createPage);

}  // namespace
}  // namespace cronvel::activex

using namespace cronvel::activex;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    module::setInstance(instance);
    DisableThreadLibraryCalls(instance);
  }
  if (reason == DLL_PROCESS_DETACH) module::unregisterWindowClasses();
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (clsid == CLSID_Cronvel) return controlFactory.QueryInterface(iid, object);
  if (clsid == CLSID_CronvelPage) return pageFactory.QueryInterface(iid, object);
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return module::locked() ? S_FALSE : S_OK; }

STDAPI DllRegisterServer() { return registerControl(Scope::machine); }

STDAPI DllUnregisterServer() { return unregisterControl(Scope::machine); }

/// `regsvr32 /n /i:user` registers for this user alone, which needs no administrator.
STDAPI DllInstall(BOOL install, LPCWSTR commandLine) {
  const bool user = commandLine != nullptr && lstrcmpiW(commandLine, L"user") == 0;
  if (commandLine != nullptr && *commandLine != L'\0' && !user) return E_INVALIDARG;
  const Scope scope = user ? Scope::user : Scope::machine;
  return install ? registerControl(scope) : unregisterControl(scope);
}
