#include "tests/activex/Host.h"

#include <chrono>

namespace cronvel::activex::test {

using DllGetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);
using DllCanUnloadNowFunction = HRESULT(STDAPICALLTYPE*)();

namespace {

template <typename Function>
Function exported(HMODULE module, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
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
  pumpUntil([&] { return canUnload(); }, 1000);  // an end that waits for the host's loop
  EXPECT_TRUE(canUnload()) << "something of the control is left";
  FreeLibrary(module);
  EXPECT_EQ(GetModuleHandleW(L"Cronvel.ocx"), nullptr) << "the module does not unload";
  OleUninitialize();
}

HRESULT ControlTest::classFactory(REFCLSID clsid, IClassFactory** factory) const {
  return exported<DllGetClassObjectFunction>(module, "DllGetClassObject")(
      clsid, IID_IClassFactory, reinterpret_cast<void**>(factory));
}

HRESULT ControlTest::createClass(REFCLSID clsid, REFIID iid, void** object) const {
  ComPtr<IClassFactory> factory;
  const HRESULT found = classFactory(clsid, &factory);
  return FAILED(found) ? found : factory->CreateInstance(nullptr, iid, object);
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
  if (outcome.result == DISP_E_EXCEPTION) {
    outcome.result = exception.scode;
    if (HRESULT_FACILITY(exception.scode) == FACILITY_CONTROL)
      outcome.number = HRESULT_CODE(exception.scode);
    if (exception.bstrDescription != nullptr) outcome.text = exception.bstrDescription;
    if (exception.bstrSource != nullptr) outcome.source = exception.bstrSource;
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrHelpFile);
  }
  return outcome;
}

std::wstring ControlTest::text(const wchar_t* name) {
  Outcome outcome = get(name);
  EXPECT_EQ(outcome.result, S_OK);
  VariantChangeType(&outcome.value, &outcome.value, VARIANT_ALPHABOOL, VT_BSTR);
  return outcome.value.bstrVal == nullptr ? L"" : outcome.value.bstrVal;
}

bool ControlTest::pumpUntil(const std::function<bool()>& reached, int milliseconds) {
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
  while (!reached()) {
    if (steady_clock::now() > end) return false;
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
