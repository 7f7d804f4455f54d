#pragma once

#include <vector>

#include "activex/Module.h"
#include "control/PersistedProperties.h"

namespace cronvel::activex {

/// The property page for the persisted properties. Form designers show it for one or several
/// controls at a time.
///
/// What talks to a terminal when it is set is shown and not changed here; what can only be set at
/// run time can be changed then.
class PropertyPage final : public IPropertyPage {
 public:
  PropertyPage() = default;
  ~PropertyPage();
  PropertyPage(const PropertyPage&) = delete;
  PropertyPage& operator=(const PropertyPage&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++mReferences; }
  STDMETHODIMP_(ULONG) Release() override;

  STDMETHODIMP SetPageSite(IPropertyPageSite* site) override;
  STDMETHODIMP Activate(HWND parent, LPCRECT position, BOOL modal) override;
  STDMETHODIMP Deactivate() override;
  STDMETHODIMP GetPageInfo(PROPPAGEINFO* info) override;
  STDMETHODIMP SetObjects(ULONG count, IUnknown** objects) override;
  STDMETHODIMP Show(UINT command) override;
  STDMETHODIMP Move(LPCRECT position) override;
  STDMETHODIMP IsPageDirty() override { return mChanged.empty() ? S_FALSE : S_OK; }
  STDMETHODIMP Apply() override;
  STDMETHODIMP Help(LPCOLESTR) override { return E_NOTIMPL; }
  STDMETHODIMP TranslateAccelerator(MSG* message) override;

 private:
  static INT_PTR CALLBACK dialogProcedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
  void showValues();
  void noteChange(const PersistedProperty& property);
  HRESULT apply(const PersistedProperty& property);
  void showError(const PersistedProperty& property, HRESULT result,
                 const EXCEPINFO& exception) const;

  module::Lock mLock;
  ULONG mReferences = 1;
  HWND mDialog = nullptr;
  bool mShowing = false;  ///< values are being filled in: not the user's changes
  std::vector<const PersistedProperty*> mChanged;  ///< whose fields the user changed
  ComPtr<IPropertyPageSite> mSite;
  std::vector<ComPtr<IDispatch>> mObjects;
};

}  // namespace cronvel::activex
