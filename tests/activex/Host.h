#pragma once

#include <windows.h>

#include <comdef.h>
#include <gtest/gtest.h>
#include <objsafe.h>
#include <ocidl.h>
#include <ole2.h>
#include <oleauto.h>
#include <olectl.h>
#include <wrl/client.h>

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "CronvelOCX.h"

#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // COM objects end by Release

// A host of the control's for tests: a small container with everything that foreign containers
// leave out, counting sinks, and calls by name as scripts make them.

namespace cronvel::activex::test {

using Microsoft::WRL::ComPtr;

/// A COM object of a test's; it must be let go of by everyone before the test ends.
template <typename... Interfaces>
class TestObject : public Interfaces... {
 public:
  TestObject() = default;
  ~TestObject() { EXPECT_EQ(mReferences, 0u) << "something still holds a test's object"; }
  TestObject(const TestObject&) = delete;
  TestObject& operator=(const TestObject&) = delete;
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    *object = nullptr;
    if (iid == IID_IUnknown) *object = first<Interfaces...>();
    ((iid == __uuidof(Interfaces) ? * object = static_cast<Interfaces*>(this) : nullptr), ...);
    if (*object == nullptr) return E_NOINTERFACE;
    ++mReferences;
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++mReferences; }
  STDMETHODIMP_(ULONG) Release() override { return --mReferences; }

 private:
  template <typename First, typename...>
  First* first() {
    return this;
  }
  ULONG mReferences = 0;
};

/// A late-bound object of a test's, which has no names and tells nothing of itself.
template <typename... Interfaces>
class TestDispatch : public TestObject<Interfaces..., IDispatch> {
 public:
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    return E_NOTIMPL;
  }
};

/// A script's variable that holds `value`.
inline _variant_t variable(VARIANT& value) {
  _variant_t reference;
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &value;
  return reference;
}

/// The module, loaded from the path that CRONVEL_OCX names, and a control made by its class
/// factory. When the test is over nothing of it may be left, and it must really unload.
class ControlTest : public testing::Test {
 protected:
  ControlTest();
  ~ControlTest() override;

  ComPtr<IUnknown> create(IUnknown* outer = nullptr) const;
  HRESULT classFactory(REFCLSID clsid, IClassFactory** factory) const;
  bool canUnload() const;

  /// Sets, calls, gets by name. Arguments in their order.
  HRESULT invoke(const wchar_t* name, WORD flags, std::initializer_list<_variant_t> arguments,
                 VARIANT* value = nullptr);
  HRESULT put(const wchar_t* name, const _variant_t& value) {
    return invoke(name, DISPATCH_PROPERTYPUT, {value});
  }
  HRESULT call(const wchar_t* name, std::initializer_list<_variant_t> arguments) {
    return invoke(name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments);
  }
  std::wstring text(const wchar_t* name);

  template <typename Interface>
  ComPtr<Interface> as() const {
    ComPtr<Interface> found;
    EXPECT_EQ(control.As(&found), S_OK);
    return found;
  }

  /// The host's own message loop until something is reached; false when it never is.
  static bool pumpUntil(const std::function<bool()>& reached);

  HMODULE module = nullptr;
  ComPtr<IUnknown> control;
};

/// A form's place for a control.
class TestSite final : public TestDispatch<IOleClientSite, IOleInPlaceSite> {
 public:
  std::optional<bool> userMode;  ///< what the form says; nothing where it does not tell
  HWND window = nullptr;
  RECT position{10, 10, 170, 60};
  int activations = 0, deactivations = 0;

  STDMETHODIMP SaveObject() override { return S_OK; }
  STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
  STDMETHODIMP GetContainer(IOleContainer**) override { return E_NOTIMPL; }
  STDMETHODIMP ShowObject() override { return S_OK; }
  STDMETHODIMP OnShowWindow(BOOL) override { return S_OK; }
  STDMETHODIMP RequestNewObjectLayout() override { return E_NOTIMPL; }

  STDMETHODIMP GetWindow(HWND* parent) override {
    *parent = window;
    return S_OK;
  }
  STDMETHODIMP ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP CanInPlaceActivate() override { return S_OK; }
  STDMETHODIMP OnInPlaceActivate() override {
    ++activations;
    return S_OK;
  }
  STDMETHODIMP OnUIActivate() override { return S_OK; }
  STDMETHODIMP GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                LPRECT place, LPRECT clip, LPOLEINPLACEFRAMEINFO) override {
    *frame = nullptr;
    *document = nullptr;
    *place = *clip = position;
    return S_OK;
  }
  STDMETHODIMP Scroll(SIZE) override { return E_NOTIMPL; }
  STDMETHODIMP OnUIDeactivate(BOOL) override { return S_OK; }
  STDMETHODIMP OnInPlaceDeactivate() override {
    ++deactivations;
    return S_OK;
  }
  STDMETHODIMP DiscardUndoState() override { return E_NOTIMPL; }
  STDMETHODIMP DeactivateAndUndo() override { return E_NOTIMPL; }
  STDMETHODIMP OnPosRectChange(LPCRECT) override { return S_OK; }

  STDMETHODIMP Invoke(DISPID property, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* value, EXCEPINFO*,
                      UINT*) override {
    if (property != DISPID_AMBIENT_USERMODE || !userMode) return DISP_E_MEMBERNOTFOUND;
    value->vt = VT_BOOL;
    value->boolVal = *userMode ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
};

/// A sink of the control's events: counts them and hands them on.
class TestSink final : public TestDispatch<> {
 public:
  std::vector<DISPID> order;
  std::function<void(DISPID, DISPPARAMS&)> onEvent;
  HRESULT answer = S_OK;

  STDMETHODIMP Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*,
                      EXCEPINFO*, UINT*) override {
    order.push_back(event);
    if (onEvent) onEvent(event, *parameters);
    return answer;
  }
};

inline ComPtr<IConnectionPoint> pointOf(IUnknown* object, REFIID iid) {
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  object->QueryInterface(IID_PPV_ARGS(&container));
  if (container) container->FindConnectionPoint(iid, &point);
  return point;
}

constexpr HRESULT runTimeError(int number) {
  return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, number);
}

}  // namespace cronvel::activex::test
