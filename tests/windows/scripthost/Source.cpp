// The object of Source.idl; it says on standard output when it is released. Its second class tells
// nothing about itself but by its type library.

#include <windows.h>

#include <ocidl.h>
#include <olectl.h>
#include <wrl/client.h>

#include <cwchar>
#include <string>
#include <vector>

#include "Source_h.h"

namespace {

using Microsoft::WRL::ComPtr;

HINSTANCE sModule = nullptr;

constexpr CLSID cSilentClass = {
    0x6f0c2b51, 0x8f5e, 0x4c0e, {0x9a, 0x43, 0x5b, 0x7f, 0x2f, 0x0d, 0x9c, 0x05}};

ComPtr<ITypeInfo> typeOf(REFGUID id) {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(sModule, path, MAX_PATH);
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> type;
  if (SUCCEEDED(LoadTypeLibEx(path, REGKIND_NONE, library.GetAddressOf())))
    library->GetTypeInfoOfGuid(id, type.GetAddressOf());
  return type;
}

class EventSource : public ISource,
                    public IConnectionPointContainer,
                    public IConnectionPoint,
                    public IProvideClassInfo2 {
 public:
  explicit EventSource(bool silent) : mSilent(silent), mType(typeOf(__uuidof(ISource))) {}
  virtual ~EventSource() {
    stop();
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), "released\n", 9, &written, nullptr);
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = nullptr;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(ISource))
      *object = static_cast<ISource*>(this);
    else if (iid == IID_IConnectionPointContainer)
      *object = static_cast<IConnectionPointContainer*>(this);
    else if (!mSilent && (iid == IID_IProvideClassInfo || iid == IID_IProvideClassInfo2))
      *object = static_cast<IProvideClassInfo2*>(this);
    else
      return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++mReferences; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --mReferences;
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** type) override {
    return mType->QueryInterface(IID_PPV_ARGS(type));
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    return DispGetIDsOfNames(mType.Get(), names, count, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* exception, UINT* error) override {
    return DispInvoke(static_cast<ISource*>(this), mType.Get(), id, flags, parameters, result,
                      exception, error);
  }

  HRESULT STDMETHODCALLTYPE Change(BSTR* after) override {
    LONG number = 41;
    VARIANT_BOOL yes = VARIANT_FALSE;
    BSTR text = SysAllocString(L"پیش");
    BYTE byte = 7;
    VARIANT any{};
    any.vt = VT_R8;
    any.dblVal = 2.5;
    std::vector<VARIANT> arguments(5);
    arguments[4].vt = VT_BYREF | VT_I4;
    arguments[4].plVal = &number;
    arguments[3].vt = VT_BYREF | VT_BOOL;
    arguments[3].pboolVal = &yes;
    arguments[2].vt = VT_BYREF | VT_BSTR;
    arguments[2].pbstrVal = &text;
    arguments[1].vt = VT_BYREF | VT_UI1;
    arguments[1].pbVal = &byte;
    arguments[0].vt = VT_BYREF | VT_VARIANT;
    arguments[0].pvarVal = &any;
    const HRESULT result = fire(2, arguments);
    std::wstring said = std::to_wstring(result) + L" " + std::to_wstring(number) + L" " +
                        std::to_wstring(yes) + L" " + text + L" " + std::to_wstring(byte) + L" " +
                        std::to_wstring(any.vt);
    SysFreeString(text);
    VariantClear(&any);
    *after = SysAllocString(said.c_str());
    return S_OK;
  }

  /// The changed array is of 3 bytes (kind 0), the same but fixed (1), or none (2).
  HRESULT STDMETHODCALLTYPE Data(LONG kind, BSTR* after) override {
    SAFEARRAY* given = bytes(3);
    SAFEARRAY* changed = kind == 2 ? nullptr : bytes(3);
    if (kind == 1) changed->fFeatures = static_cast<USHORT>(changed->fFeatures | FADF_FIXEDSIZE);
    std::vector<VARIANT> arguments(2);
    arguments[1].vt = VT_ARRAY | VT_UI1;
    arguments[1].parray = given;
    arguments[0].vt = VT_BYREF | VT_ARRAY | VT_UI1;
    arguments[0].pparray = &changed;
    const HRESULT result = fire(3, arguments);
    VARTYPE type = VT_EMPTY;
    SafeArrayGetVartype(changed, &type);
    std::wstring said = std::to_wstring(result) + L" " + std::to_wstring(type);
    for (ULONG i = 0; changed != nullptr && i < changed->rgsabound[0].cElements; ++i)
      said += L" " + std::to_wstring(static_cast<BYTE*>(changed->pvData)[i]);
    SafeArrayDestroy(given);
    SafeArrayDestroy(changed);
    *after = SysAllocString(said.c_str());
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Wide(BSTR* after) override {
    std::vector<VARIANT> arguments(3);
    arguments[2].vt = VT_UI4;
    arguments[2].ulVal = 4000000000UL;
    arguments[1].vt = VT_I1;
    arguments[1].cVal = -5;
    VARIANT array{};
    array.vt = VT_ARRAY | VT_UI1;
    array.parray = bytes(2);
    arguments[0].vt = VT_BYREF | VT_VARIANT;
    arguments[0].pvarVal = &array;
    const HRESULT result = fire(4, arguments);
    *after = SysAllocString((std::to_wstring(result) + L" " + std::to_wstring(array.vt)).c_str());
    VariantClear(&array);
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Start(LONG milliseconds, LONG count) override {
    stop();
    mWindow = CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, sModule,
                              nullptr);
    mLeft = count;
    SetWindowLongPtrW(mWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    return SetTimer(mWindow, 1, static_cast<UINT>(milliseconds), onTimer) != 0 ? S_OK : E_FAIL;
  }

  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** point) override {
    if (iid != __uuidof(SourceEvents)) return CONNECT_E_NOCONNECTION;
    *point = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override {
    *iid = __uuidof(SourceEvents);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE
  GetConnectionPointContainer(IConnectionPointContainer** container) override {
    return QueryInterface(IID_PPV_ARGS(container));
  }
  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override {
    if (mSink.Get() != nullptr) return CONNECT_E_ADVISELIMIT;
    *cookie = 1;
    return sink->QueryInterface(__uuidof(SourceEvents),
                                reinterpret_cast<void**>(mSink.ReleaseAndGetAddressOf()));
  }
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD) override {
    mSink.Reset();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** type) override {
    *type = typeOf(__uuidof(Source)).Detach();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetGUID(DWORD, GUID* id) override {
    *id = __uuidof(SourceEvents);
    return S_OK;
  }

 private:
  static SAFEARRAY* bytes(BYTE count) {
    SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, count);
    for (BYTE i = 0; i < count; ++i)
      static_cast<BYTE*>(array->pvData)[i] = static_cast<BYTE>(i + 1);
    return array;
  }
  HRESULT fire(DISPID id, std::vector<VARIANT>& arguments) {
    const ComPtr<IDispatch> sink = mSink;
    if (sink.Get() == nullptr) return S_FALSE;
    DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
    return sink->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &parameters, nullptr, nullptr, nullptr);
  }
  static void CALLBACK onTimer(HWND window, UINT, UINT_PTR, DWORD) {
    auto* self = reinterpret_cast<EventSource*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    const ComPtr<ISource> kept(self);
    std::vector<VARIANT> arguments(1);
    arguments[0].vt = VT_I4;
    arguments[0].lVal = self->mLeft--;
    if (self->mLeft <= 0) self->stop();
    self->fire(1, arguments);
  }
  void stop() {
    if (mWindow != nullptr) DestroyWindow(mWindow);
    mWindow = nullptr;
  }

  ULONG mReferences = 0;
  bool mSilent;
  ComPtr<ITypeInfo> mType;
  ComPtr<IDispatch> mSink;
  HWND mWindow = nullptr;
  LONG mLeft = 0;
};

class Factory : public IClassFactory {
 public:
  explicit Factory(bool silent) : mSilent(silent) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    *object = iid == IID_IUnknown || iid == IID_IClassFactory ? this : nullptr;
    return *object != nullptr ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
    const ComPtr<ISource> source(new EventSource(mSilent));
    return source->QueryInterface(iid, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(WINBOOL) override { return S_OK; }

 private:
  bool mSilent;
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID id, REFIID iid, void** object) {
  static Factory telling(false);
  static Factory silent(true);
  if (id == __uuidof(Source)) return telling.QueryInterface(iid, object);
  if (id == cSilentClass) return silent.QueryInterface(iid, object);
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return S_FALSE; }

BOOL WINAPI DllMain(HINSTANCE module, DWORD, void*) {
  sModule = module;
  return TRUE;
}
