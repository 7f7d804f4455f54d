#include "tests/activex/Host.h"

namespace cronvel::activex::test {

namespace {

template <typename Function>
auto exported(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace

ControlTest::ControlTest() {
  OleInitialize(nullptr);
  const wchar_t* path = _wgetenv(L"CRONVEL_OCX");
  module = path == nullptr ? nullptr : LoadLibraryW(path);
  EXPECT_NE(module, nullptr) << "name the control's file in CRONVEL_OCX; error " << GetLastError();
  control = create();
}

ControlTest::~ControlTest() {
  control.Reset();
  EXPECT_TRUE(pumpUntil([&] { return canUnload(); })) << "something of the control is left";
  FreeLibrary(module);
  EXPECT_EQ(GetModuleHandleW(L"Cronvel.ocx"), nullptr) << "the module does not unload";
  OleUninitialize();
}

HRESULT ControlTest::classFactory(REFCLSID clsid, IClassFactory** factory) const {
  return exported<decltype(DllGetClassObject)>(module, "DllGetClassObject")(
      clsid, IID_IClassFactory, reinterpret_cast<void**>(factory));
}

ComPtr<IUnknown> ControlTest::create(IUnknown* outer) const {
  ComPtr<IClassFactory> factory;
  ComPtr<IUnknown> made;
  EXPECT_EQ(classFactory(CLSID_Cronvel, &factory), S_OK);
  EXPECT_EQ(factory->CreateInstance(outer, IID_PPV_ARGS(&made)), S_OK);
  return made;
}

bool ControlTest::canUnload() const {
  return exported<decltype(DllCanUnloadNow)>(module, "DllCanUnloadNow")() == S_OK;
}

HRESULT ControlTest::invoke(const wchar_t* name, WORD flags,
                            std::initializer_list<_variant_t> arguments, VARIANT* value) {
  // Held by nobody during the call, as by compiled hosts.
  IDispatch* const dispatch = as<IDispatch>().Get();
  auto* nameText = const_cast<wchar_t*>(name);
  DISPID id = 0;
  EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, &nameText, 1, LOCALE_USER_DEFAULT, &id), S_OK);
  std::vector<VARIANTARG> reversed(std::rbegin(arguments), std::rend(arguments));
  DISPID put = DISPID_PROPERTYPUT;
  const UINT named = flags == DISPATCH_PROPERTYPUT ? 1 : 0;
  DISPPARAMS parameters{reversed.data(), &put, static_cast<UINT>(reversed.size()), named};
  EXCEPINFO exception{};
  const HRESULT result = dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                          value, &exception, nullptr);
  for (BSTR text : {exception.bstrDescription, exception.bstrSource, exception.bstrHelpFile})
    SysFreeString(text);
  return result == DISP_E_EXCEPTION ? exception.scode : result;
}

std::wstring ControlTest::text(const wchar_t* name) {
  _variant_t value;
  EXPECT_EQ(invoke(name, DISPATCH_PROPERTYGET, {}, &value), S_OK);
  EXPECT_EQ(VariantChangeType(&value, &value, VARIANT_ALPHABOOL, VT_BSTR), S_OK);
  return {value.bstrVal, SysStringLen(value.bstrVal)};
}

bool ControlTest::pumpUntil(const std::function<bool()>& reached) {
  const ULONGLONG end = GetTickCount64() + 30000;
  while (!reached()) {
    if (GetTickCount64() > end) return false;
    MsgWaitForMultipleObjectsEx(0, nullptr, 20, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    MSG message{};
    while (!reached() && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0)
      DispatchMessageW(&message);
  }
  return true;
}

}  // namespace cronvel::activex::test
