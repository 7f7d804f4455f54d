#include "tests/activex/Host.h"

namespace cronvel::activex::test {

using DllGetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);
using DllCanUnloadNowFunction = HRESULT(STDAPICALLTYPE*)();

namespace {

template <typename Function>
Function exported(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

std::wstring taken(BSTR text) {
  const std::wstring copy(text, SysStringLen(text));
  SysFreeString(text);
  return copy;
}

}  // namespace

ControlTest::ControlTest() {
  OleInitialize(nullptr);
  const wchar_t* path = _wgetenv(L"CRONVEL_OCX");
  module = LoadLibraryW(path == nullptr ? L"Cronvel.ocx" : path);
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
  return exported<DllGetClassObjectFunction>(module, "DllGetClassObject")(
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
  return exported<DllCanUnloadNowFunction>(module, "DllCanUnloadNow")() == S_OK;
}

Outcome ControlTest::invoke(const wchar_t* name, WORD flags,
                            std::initializer_list<Value> arguments) {
  Outcome outcome;
  const auto dispatch = as<IDispatch>();
  auto* nameText = const_cast<wchar_t*>(name);
  DISPID id = 0;
  outcome.result = dispatch->GetIDsOfNames(IID_NULL, &nameText, 1, LOCALE_USER_DEFAULT, &id);
  EXPECT_EQ(outcome.result, S_OK) << "no member of this name";
  std::vector<VARIANTARG> reversed(std::rbegin(arguments), std::rend(arguments));
  DISPID put = DISPID_PROPERTYPUT;
  const bool putting = flags == DISPATCH_PROPERTYPUT;
  DISPPARAMS parameters{reversed.data(), putting ? &put : nullptr,
                        static_cast<UINT>(reversed.size()), putting ? 1u : 0u};
  EXCEPINFO exception{};
  outcome.result = dispatch->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                    &outcome.value, &exception, nullptr);
  if (outcome.result != DISP_E_EXCEPTION) return outcome;
  outcome.result = exception.scode;
  if (HRESULT_FACILITY(exception.scode) == FACILITY_CONTROL)
    outcome.number = HRESULT_CODE(exception.scode);
  outcome.text = taken(exception.bstrDescription);
  outcome.source = taken(exception.bstrSource);
  SysFreeString(exception.bstrHelpFile);
  return outcome;
}

std::wstring ControlTest::text(const wchar_t* name) {
  Outcome outcome = get(name);
  EXPECT_EQ(VariantChangeType(&outcome.value, &outcome.value, VARIANT_ALPHABOOL, VT_BSTR), S_OK);
  return {outcome.value.bstrVal, SysStringLen(outcome.value.bstrVal)};
}

bool ControlTest::pumpUntil(const std::function<bool()>& reached) {
  const ULONGLONG end = GetTickCount64() + 30000;
  while (!reached()) {
    if (GetTickCount64() > end) return false;
    MsgWaitForMultipleObjectsEx(0, nullptr, 20, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
      if (reached()) return true;
    }
  }
  return true;
}

}  // namespace cronvel::activex::test
